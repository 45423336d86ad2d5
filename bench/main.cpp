// ./dev bench: what the built module and libraries cost, in one table that says whether each goal
// is held. Exit status: 0 all are, 1 one is missed, 2 something could not be measured.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <android/log.h>

#include "bench/fairness.h"
#include "bench/measure.h"
#include "bench/subject.h"
#include "bench/system_calls.h"
#include "bench/table.h"
#include "tests/support/scratch_dir.h"

namespace {

enum : int { exit_held = 0, exit_missed = 1, exit_not_measured = 2 };

constexpr subject_entry subjects[] = {
    {"PCM write", "10 ms", "pcm_write() to the same card", 1.6, 0, 0, make_pcm_write},
    {"capture", "20 ms at 16 kHz", "speexdsp on the same frames", 1.1, 0, 0, make_capture},
    {"fold", "32768 frames", "memcpy() of the bytes read", 4, 0, 0, make_fold},
    {"search of random bytes", "4 KiB", "memmem()", 1, 0, 0, make_search_random},
    {"search of zeros", "4 KiB", "memmem()", 1, 0, 0, make_search_zeros},
    {"search of near matches", "4 KiB", "memmem()", 1, 0, 0, make_search_near_matches},
    {"tunnel write", "64 frames of 4 KiB", "memcpy() in pieces of 1 KiB", 2.5, 0, 0,
     make_tunnel_write},
    {"chunk", "1 KiB to another process", "two bare round trips", 1.5, 12, 0, make_chunk},
    {"service chunk", "1 KiB to the reference player service", "two bare round trips", 3, 16, 0,
     make_service_chunk},
    {"position", "of another process", "one bare round trip", 1.5, 6, 0, make_position},
};
constexpr double most_module_bytes = 130'000;

const subject_entry& find(const std::string& name) {
    for (const subject_entry& entry : subjects) {
        if (name == entry.name) {
            return entry;
        }
    }
    give_up("there is no subject '%s'", name.c_str());
}

// Nothing but one side of the subject, so many times: for who counts from outside.
int run(const subject_entry& entry, const std::string& side, uint32_t times) {
    const std::unique_ptr<subject> made = entry.make();
    if (side == "ours") {
        made->ours(times);
    } else {
        made->reference(times);
    }
    return exit_held;
}

int measure_rows(const subject_entry& entry) {
    const measurement found = measure(*entry.make());
    const double our_calls = system_calls_each(entry.name, "ours");
    const double reference_calls = system_calls_each(entry.name, "reference");
    const std::string what = std::string(entry.name) + ", " + entry.unit;
    bool held = print_ratio(what + ": CPU time", found.ours_ns, entry.reference, found.reference_ns,
                            found.ratio, entry.cpu_ratio);
    held &= print_count(what + ": system calls", our_calls, reference_calls, entry.system_calls);
    held &= print_count(what + ": allocations", found.allocations, found.reference_allocations,
                        entry.allocations);
    return held ? exit_held : exit_missed;
}

int measure_fairness() {
    return print_fairness() ? exit_held : exit_missed;
}

// What a thread costs to wake depends on where it runs, on virtual machines by a multiple: one
// processor for all of a subject's threads and processes makes the rounds comparable.
void stay_on_this_processor() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(sched_getcpu()), &set);
    if (sched_setaffinity(0, sizeof(set), &set) != 0) {
        give_up("cannot keep to one processor");
    }
}

// Does the work in a folder and with player services of its own.
template <typename Work>
int alone(const Work& work) {
    const scratch_dir folder;
    setenv("CORVEX_BINDER_DIR", folder.file("binder").c_str(), 1);
    setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
    setenv("CORVEX_PROPERTY_FILE", folder.file("properties").c_str(), 1);
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    try {
        stay_on_this_processor();
        return work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
    }
    return exit_not_measured;
}

// In a process of its own, whose threads and settings are a subject's alone.
template <typename Work>
int in_child(const Work& work) {
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        const int status = alone(work);
        std::fflush(stdout);
        _exit(status);
    }
    int status = 0;
    return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status)
                                                                           : exit_not_measured;
}

int measure_all() {
    print_heading();
    int worst = exit_held;
    for (const subject_entry& entry : subjects) {
        worst = std::max(worst, in_child([&entry] { return measure_rows(entry); }));
    }
    worst = std::max(worst, in_child(measure_fairness));
    std::error_code error;
    const auto module_bytes = std::filesystem::file_size(CORVEX_STRIPPED_FILE, error);
    if (error) {
        std::fprintf(stderr,
                     "bench: cannot read " CORVEX_STRIPPED_FILE
                     ": %s; run ./dev bench, which makes it\n",
                     error.message().c_str());
        return exit_not_measured;
    }
    const bool held = print_count("module, stripped: bytes", static_cast<double>(module_bytes), 0,
                                  most_module_bytes);
    return std::max<int>(worst, held ? exit_held : exit_missed);
}

}  // namespace

void give_up(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    throw std::runtime_error(text);
}

int main(int argc, char** argv) {
    if (argc == 1) {
        return measure_all();
    }
    if (argc == 2) {
        print_heading();
        return alone([argv] {
            return std::string("fairness") == argv[1] ? measure_fairness()
                                                      : measure_rows(find(argv[1]));
        });
    }
    if (argc == 4) {
        return alone([argv] {
            return run(find(argv[1]), argv[2], static_cast<uint32_t>(std::stoul(argv[3])));
        });
    }
    std::fprintf(stderr, "usage: %s [SUBJECT [ours|reference TIMES]]\nsubjects:\n", argv[0]);
    for (const subject_entry& entry : subjects) {
        std::fprintf(stderr, "  %s\n", entry.name);
    }
    std::fprintf(stderr, "  fairness (has no sides)\n");
    return exit_not_measured;
}
