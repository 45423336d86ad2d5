#include "tools/device/chosen_device.h"

#include <cerrno>
#include <fstream>
#include <stdlib.h>
#include <system_error>

#include "host/device_name.h"
#include "host/program_error.h"

namespace fs = std::filesystem;

namespace {

// "Loopback PCM" out of the line "name: Loopback PCM".
std::string name_in_info(const fs::path& info) {
    std::ifstream file(info);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("name: ", 0) == 0) {
            return line.substr(6);
        }
    }
    return "unnamed";
}

std::string describe_card(const fs::path& proc_asound, const char* pcm) {
    std::ifstream file(proc_asound / "card0" / "id");
    std::string id;
    if (!std::getline(file, id) || id.empty()) {
        id = "unnamed";
    }
    return "card 0 '" + id + "', device 0 '" + name_in_info(proc_asound / "card0" / pcm / "info") +
           "' (hw:0,0)";
}

}  // namespace

void chosen_device::apply() const {
    const int result =
        variable.empty() ? unsetenv(environment) : setenv(environment, variable.c_str(), 1);
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), "setting the device");
    }
}

std::optional<fs::file_time_type> chosen_device::time_written() const {
    std::error_code error;
    const fs::file_time_type time = fs::last_write_time(wav_path, error);
    return error ? std::nullopt : std::optional(time);
}

std::string chosen_device::size_text() const {
    std::error_code error;
    const uintmax_t size_bytes = fs::file_size(wav_path, error);
    return error ? "" : ", " + std::to_string(size_bytes) + " bytes";
}

bool card_has(const fs::path& proc_asound, const char* pcm) {
    std::error_code ignored;
    return fs::exists(proc_asound / "card0" / pcm, ignored);
}

chosen_device card_device(const char* environment, const fs::path& proc_asound, const char* pcm) {
    return {environment, "", describe_card(proc_asound, pcm), {}};
}

chosen_device wav_device(const char* environment, const fs::path& path) {
    const fs::path wav = fs::absolute(path).lexically_normal();
    return {environment, wav_prefix + wav.string(), "WAV file " + wav.string(), wav};
}

chosen_device alsa_device(const char* environment, const std::string& name) {
    return {environment, name, "ALSA PCM '" + name + "'", {}};
}

void require_device_name(const std::string& name, const char* option) {
    if (name.empty()) {
        throw program_error(std::string(option) +
                                " is empty; give auto, card, a path that ends in .wav, or the name "
                                "of an ALSA PCM",
                            exit_usage);
    }
}
