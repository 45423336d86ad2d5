#include "tools/sink_device.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <stdlib.h>
#include <system_error>
#include <unistd.h>

#include "tools/tool_error.h"

namespace fs = std::filesystem;

namespace {

constexpr char wav_prefix[] = "wav:";

bool starts_with_wav_prefix(const std::string& text) {
    return text.rfind(wav_prefix, 0) == 0;
}

bool is_wav_path(const std::string& text) {
    std::string extension = fs::path(text).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".wav";
}

bool card_can_play(const fs::path& proc_asound) {
    std::error_code ignored;
    return fs::exists(proc_asound / "card0" / "pcm0p", ignored);
}

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

std::string describe_card(const fs::path& proc_asound) {
    std::ifstream file(proc_asound / "card0" / "id");
    std::string id;
    if (!std::getline(file, id) || id.empty()) {
        id = "unnamed";
    }
    return "card 0 '" + id + "', device 0 '" +
           name_in_info(proc_asound / "card0" / "pcm0p" / "info") + "' (hw:0,0)";
}

fs::path folder_of(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

// Tries it: access() promises root files even where none can be made. What is there is only asked
// about.
bool can_write_file(const fs::path& file) {
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
        close(fd);
        unlink(file.c_str());
        return true;
    }
    return errno == EEXIST && access(file.c_str(), W_OK) == 0;
}

// Throws tool_error when the file's folder, name or rights do not allow writing it.
void require_writable_wav(const fs::path& wav, const fs::path& input) {
    std::error_code error;
    if (wav.filename().empty()) {
        throw tool_error("'" + wav.string() + "' names no file; give --device FOLDER/NAME.wav");
    }
    const fs::path folder = folder_of(wav);
    if (!fs::is_directory(folder, error)) {
        throw tool_error("there is no folder '" + folder.string() + "' for '" + wav.string() +
                         "'; make it first");
    }
    const fs::file_status status = fs::status(wav, error);
    if (fs::exists(status) && fs::equivalent(wav, input, error)) {
        throw tool_error("'" + wav.string() +
                         "' is the file to be played and would be overwritten; name another file");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw tool_error("'" + wav.string() + "' is no regular file; name another one");
    }
    if (!can_write_file(wav)) {
        throw tool_error("'" + wav.string() + "' cannot be written; name a file in another folder");
    }
}

sink_device wav_sink(const fs::path& path, const fs::path& input) {
    require_writable_wav(path, input);
    const fs::path wav = fs::absolute(path).lexically_normal();
    return {wav_prefix + wav.string(), "WAV file " + wav.string(), wav};
}

sink_device card_sink(const fs::path& proc_asound) {
    return {"", describe_card(proc_asound), {}};
}

sink_device wav_beside(const fs::path& input) {
    const fs::path name = input.stem().string() + ".played.wav";
    for (const fs::path& folder : {folder_of(input), fs::path(".")}) {
        if (can_write_file(folder / name)) {
            return wav_sink(folder / name, input);
        }
    }
    throw tool_error("there is no sound card, and neither '" + folder_of(input).string() +
                     "' nor the current folder can be written; name a file with "
                     "--device FOLDER/NAME.wav");
}

sink_device from_name(const std::string& name, const fs::path& input) {
    if (starts_with_wav_prefix(name)) {
        return wav_sink(name.substr(sizeof(wav_prefix) - 1), input);
    }
    return {name, "ALSA PCM '" + name + "'", {}};
}

}  // namespace

sink_device choose_sink(const sink_request& request) {
    if (request.device.empty()) {
        throw tool_error(
            "--device is empty; give auto, card, a path that ends in .wav, or the "
            "name of an ALSA PCM",
            exit_usage);
    }
    if (request.device == "card") {
        if (!card_can_play(request.proc_asound)) {
            throw tool_error("no sound card 0 with a playback device 0 (" +
                             (request.proc_asound / "card0" / "pcm0p").string() +
                             " is missing); use --device FILE.wav or the name of an ALSA PCM");
        }
        return card_sink(request.proc_asound);
    }
    if (request.device == "auto") {
        if (!request.from_environment.empty()) {
            return from_name(request.from_environment, request.input);
        }
        return card_can_play(request.proc_asound) ? card_sink(request.proc_asound)
                                                  : wav_beside(request.input);
    }
    if (!starts_with_wav_prefix(request.device) && is_wav_path(request.device)) {
        return wav_sink(request.device, request.input);
    }
    return from_name(request.device, request.input);
}

void sink_device::apply() const {
    const int result = variable.empty() ? unsetenv(playback_variable)
                                        : setenv(playback_variable, variable.c_str(), 1);
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), "setting the playback device");
    }
}

std::optional<fs::file_time_type> sink_device::time_written() const {
    std::error_code error;
    const fs::file_time_type time = fs::last_write_time(wav_path, error);
    return error ? std::nullopt : std::optional(time);
}
