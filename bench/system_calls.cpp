#include "bench/system_calls.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bench/subject.h"

namespace {

constexpr char summary_file[] = "system_calls";

// Of a whole run. The summary's last line is "<calls> total".
uint64_t calls_of_run(const std::string& subject, const std::string& side, uint32_t times) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = std::string("strace -f -c -U calls,name -o ") + summary_file +
                                " '" + program + "' '" + subject + "' " + side + " " +
                                std::to_string(times);
    if (std::system(command.c_str()) != 0) {
        give_up("strace cannot count the system calls of '%s'", subject.c_str());
    }
    std::ifstream file(summary_file);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        uint64_t calls = 0;
        std::string name;
        if (words >> calls >> name && name == "total") {
            return calls;
        }
    }
    give_up("strace's summary has no total");
}

}  // namespace

double system_calls_each(const std::string& subject, const std::string& side) {
    // What it takes to start and to stop is the same in both.
    constexpr uint32_t few = 100;
    constexpr uint32_t many = 600;
    const auto fewer = static_cast<double>(calls_of_run(subject, side, few));
    const auto more = static_cast<double>(calls_of_run(subject, side, many));
    return (more - fewer) / (many - few);
}
