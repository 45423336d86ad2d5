#include "host/writable_file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

int writing_error(const std::filesystem::path& file) {
    // access() promises root files even where none can be made.
    constexpr int flags = O_WRONLY | O_NONBLOCK | O_CLOEXEC;
    int fd = open(file.c_str(), flags | O_CREAT | O_EXCL, 0666);
    const bool is_new = fd >= 0;
    if (!is_new && errno == EEXIST) {
        fd = open(file.c_str(), flags);
    }
    if (fd < 0) {
        return errno;
    }
    close(fd);
    if (is_new) {
        unlink(file.c_str());
    }
    return 0;
}
