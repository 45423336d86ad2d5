#include "socket_directory.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utils/String8.h>

#include "log.h"

namespace corvex_binder {

namespace {

constexpr size_t kMaxServiceName = 127;
constexpr size_t kMaxFileName = 255;

struct directory_path {
    std::string path;
    int open_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    bool is_chosen = false;  // by name, not by default
};

directory_path find_path() {
    const char* chosen = getenv("CORVEX_BINDER_DIR");
    if (chosen != nullptr && *chosen != '\0') {
        directory_path found;
        found.path = chosen;
        found.is_chosen = true;
        return found;
    }
    // In places that others may write to, a link can be theirs.
    directory_path found;
    found.open_flags |= O_NOFOLLOW;
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    found.path = runtime != nullptr && *runtime == '/'
                     ? std::string(runtime) + "/corvex-binder"
                     : "/tmp/corvex-binder-" + std::to_string(geteuid());
    return found;
}

// Why an open folder is not private; null when it is.
const char* find_fault(int directory, bool is_chosen) {
    struct stat file = {};
    if (fstat(directory, &file) != 0) {
        return strerror(errno);
    }
    // Root may go into the folder of a user, but only where it is told to: anybody may have made
    // one in the default place before.
    if (file.st_uid != geteuid() && !(geteuid() == 0 && is_chosen)) {
        return "it belongs to another user";
    }
    return (file.st_mode & (S_IRWXG | S_IRWXO)) != 0 ? "others than its owner have access to it"
                                                     : nullptr;
}

bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           strchr("._-", c) != nullptr;
}

}  // namespace

unique_fd open_socket_directory(bool create, android::status_t* status) {
    const directory_path folder = find_path();
    if (create && mkdir(folder.path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        *status = -errno;
        BINDER_LOG(ERROR,
                   "cannot make the folder '%s' for services: %s; set CORVEX_BINDER_DIR to "
                   "a private folder of yours",
                   folder.path.c_str(), strerror(errno));
        return {};
    }
    unique_fd directory(open(folder.path.c_str(), folder.open_flags));
    if (!directory.valid() && errno == ENOENT) {
        *status = android::NAME_NOT_FOUND;
        return {};
    }
    const char* fault =
        directory.valid() ? find_fault(directory.get(), folder.is_chosen) : strerror(errno);
    *status = android::NO_ERROR;
    if (fault != nullptr) {
        *status = android::PERMISSION_DENIED;
        directory.reset();
        BINDER_LOG(ERROR,
                   "the folder '%s' is not used for services: %s; give it to this user with mode "
                   "0700, or set CORVEX_BINDER_DIR to another one",
                   folder.path.c_str(), fault);
    }
    return directory;
}

std::string socket_name(const android::String16& service) {
    if (service.size() == 0 || service.size() > kMaxServiceName) {
        return {};
    }
    const android::String8 text(service);
    std::string name;
    for (size_t i = 0; i < text.bytes(); ++i) {
        const char c = text.string()[i];
        // A leading dot is for sockets in the making.
        if (is_plain(c) && !(c == '.' && i == 0)) {
            name += c;
        } else {
            char escaped[4];
            snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
            name += escaped;
        }
    }
    return name.size() <= kMaxFileName ? name : std::string();
}

bool operator==(const socket_identity& a, const socket_identity& b) {
    return a.device == b.device && a.inode == b.inode;
}

bool identify(int directory, const std::string& name, socket_identity* identity) {
    struct stat file = {};
    if (fstatat(directory, name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISSOCK(file.st_mode)) {
        return false;
    }
    *identity = {file.st_dev, file.st_ino};
    return true;
}

}  // namespace corvex_binder
