#include "host/device_name.h"

#include <algorithm>
#include <cctype>

std::optional<std::filesystem::path> wav_path_in(const std::string& name, bool from_person) {
    if (name.rfind(wav_prefix, 0) == 0) {
        return name.substr(sizeof(wav_prefix) - 1);
    }
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return from_person && extension == ".wav" ? std::optional<std::filesystem::path>(name)
                                              : std::nullopt;
}
