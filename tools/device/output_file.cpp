#include "tools/device/output_file.h"

#include <system_error>

#include "host/program_error.h"
#include "host/writable_file.h"

namespace fs = std::filesystem;

fs::path folder_of(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

void require_writable_wav(const fs::path& wav, const fs::path& input, const char* done_to_input) {
    std::error_code error;
    if (wav.filename().empty()) {
        throw program_error("'" + wav.string() + "' names no file; give FOLDER/NAME.wav");
    }
    const fs::path folder = folder_of(wav);
    if (!fs::is_directory(folder, error)) {
        throw program_error("there is no folder '" + folder.string() + "' for '" + wav.string() +
                            "'; make it first");
    }
    const fs::file_status status = fs::status(wav, error);
    if (fs::exists(status) && fs::equivalent(wav, input, error)) {
        throw program_error("'" + wav.string() + "' is the file to be " + done_to_input +
                            " and would be overwritten; name another file");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw program_error("'" + wav.string() + "' is no regular file; name another one");
    }
    if (writing_error(wav) != 0) {
        throw program_error("'" + wav.string() +
                            "' cannot be written; name a file in another folder");
    }
}
