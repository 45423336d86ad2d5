#include "tools/media/input_file.h"

#include <filesystem>
#include <system_error>

#include "host/program_error.h"

void require_readable_file(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        throw program_error("there is no file '" + path + "'; check the name and the folder");
    }
    if (error) {
        throw program_error("cannot look at '" + path + "': " + error.message() +
                            "; check the rights of the folders on the way");
    }
    if (status.type() == fs::file_type::directory) {
        throw program_error("'" + path + "' is a folder; name an audio file in it");
    }
    if (status.type() != fs::file_type::regular) {
        throw program_error("'" + path + "' is not a regular file; save the audio to a file first");
    }
    const auto size_bytes = fs::file_size(path, error);
    if (!error && size_bytes == 0) {
        throw program_error("'" + path + "' is empty; name a file that holds audio");
    }
}
