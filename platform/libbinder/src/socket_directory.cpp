#include "socket_directory.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <utils/String8.h>

#include "log.h"
#include "message.h"

namespace android::corvex_binder {

namespace {

constexpr size_t kMaxServiceName = 127;
constexpr size_t kMaxFileName = 255;

std::string default_directory() {
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && *runtime == '/'
               ? std::string(runtime) + "/corvex-binder"
               : "/tmp/corvex-binder-" + std::to_string(geteuid());
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

// An address below an open descriptor, so that its length does not depend on where that is.
sockaddr_un address_below(int fd, const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d%s%s", fd,
             name.empty() ? "" : "/", name.c_str());
    return address;
}

bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           strchr("._-", c) != nullptr;
}

}  // namespace

unique_fd open_socket_directory(bool create, status_t* status) {
    const char* chosen = getenv("CORVEX_BINDER_DIR");
    const bool is_chosen = chosen != nullptr && *chosen != '\0';
    const std::string path = is_chosen ? chosen : default_directory();
    if (create && mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        *status = -errno;
        BINDER_LOG(ERROR,
                   "cannot make the folder '%s' for services: %s; set CORVEX_BINDER_DIR to "
                   "a private folder of yours",
                   path.c_str(), strerror(errno));
        return {};
    }
    // In the default places, which others may write to, a link can be theirs.
    unique_fd directory(
        open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | (is_chosen ? 0 : O_NOFOLLOW)));
    if (!directory.ok() && errno == ENOENT) {
        *status = NAME_NOT_FOUND;
        return {};
    }
    const char* fault = directory.ok() ? find_fault(directory.get(), is_chosen) : strerror(errno);
    *status = NO_ERROR;
    if (fault != nullptr) {
        *status = PERMISSION_DENIED;
        directory.reset();
        BINDER_LOG(ERROR,
                   "the folder '%s' is not used for services: %s; give it to this user with mode "
                   "0700, or set CORVEX_BINDER_DIR to another one",
                   path.c_str(), fault);
    }
    return directory;
}

std::string socket_name(const String16& service) {
    if (service.size() == 0 || service.size() > kMaxServiceName) {
        return {};
    }
    const String8 text(service);
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

bool identify(int directory, const std::string& name, socket_identity* identity) {
    struct stat file = {};
    if (fstatat(directory, name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISSOCK(file.st_mode)) {
        return false;
    }
    *identity = {file.st_dev, file.st_ino};
    return true;
}

unique_fd listen_at(int directory, const std::string& name, socket_identity* identity,
                    status_t* status) {
    static std::atomic<unsigned> count{0};
    // Made under a name that nobody looks for, then moved: a service is there or not, never half.
    const std::string making =
        ".making-" + std::to_string(getpid()) + "-" + std::to_string(count.fetch_add(1));
    unlinkat(directory, making.c_str(), 0);
    unique_fd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = address_below(directory, making);
    const bool made =
        listener.ok() &&
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(listener.get(), SOMAXCONN) == 0 && identify(directory, making, identity) &&
        renameat(directory, making.c_str(), directory, name.c_str()) == 0;
    *status = made ? 0 : -errno;
    if (!made) {
        unlinkat(directory, making.c_str(), 0);
        listener.reset();
    }
    return listener;
}

status_t connect_to(int directory, const std::string& name, int timeout_ms, unique_fd* connected,
                    ucred* peer) {
    const unique_fd file(openat(directory, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat kind = {};
    if (!file.ok() || fstat(file.get(), &kind) != 0 || !S_ISSOCK(kind.st_mode)) {
        return NAME_NOT_FOUND;
    }
    const sockaddr_un address = address_below(file.get(), "");
    unique_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    // Connecting waits while the service's queue is full, as it is where that is busy, or stopped.
    set_timeout(socket.get(), SO_SNDTIMEO, timeout_ms);
    int error = EINTR;
    while (error == EINTR) {
        const bool done =
            connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        error = done ? 0 : errno;
    }
    if (error == ENOENT || error == ECONNREFUSED) {
        return NAME_NOT_FOUND;
    }
    if (error == EAGAIN) {
        return TIMED_OUT;
    }
    if (error != 0 || !identify_peer(socket.get(), peer)) {
        BINDER_LOG(ERROR, "the service '%s' cannot be reached: %s", name.c_str(), strerror(error));
        return -error;
    }
    if (geteuid() != 0 && !may_connect(*peer)) {
        BINDER_LOG(ERROR, "the service '%s' is offered by user %u and is not used", name.c_str(),
                   static_cast<unsigned>(peer->uid));
        return PERMISSION_DENIED;
    }
    *connected = std::move(socket);
    return NO_ERROR;
}

bool identify_peer(int socket, ucred* peer) {
    socklen_t size = sizeof *peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, peer, &size) == 0;
}

bool may_connect(const ucred& peer) {
    return peer.uid == geteuid() || peer.uid == 0;
}

}  // namespace android::corvex_binder
