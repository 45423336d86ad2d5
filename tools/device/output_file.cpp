#include "tools/device/output_file.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include "host/program_error.h"

namespace fs = std::filesystem;

fs::path folder_of(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

bool can_write_file(const fs::path& file) {
    // access() promises root files even where none can be made.
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
        close(fd);
        unlink(file.c_str());
        return true;
    }
    return errno == EEXIST && access(file.c_str(), W_OK) == 0;
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
    if (!can_write_file(wav)) {
        throw program_error("'" + wav.string() +
                            "' cannot be written; name a file in another folder");
    }
}
