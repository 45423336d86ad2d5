// Listening and connecting at a service's name, and who is at the other end.

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "log.h"
#include "socket_directory.h"

namespace corvex_binder {

namespace {

// An address below an open descriptor, so that its length does not depend on where that is.
sockaddr_un address_below(int fd, const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d%s%s", fd,
             name.empty() ? "" : "/", name.c_str());
    return address;
}

unique_fd make_socket(int flags) {
    return unique_fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
}

}  // namespace

unique_fd listen_at(int directory, const std::string& name, socket_identity* identity,
                    android::status_t* status) {
    static std::atomic<unsigned> count{0};
    // Made under a name that nobody looks for, then moved: a service is there or not, never half.
    const std::string making =
        ".making-" + std::to_string(getpid()) + "-" + std::to_string(count.fetch_add(1));
    unlinkat(directory, making.c_str(), 0);
    unique_fd listener = make_socket(SOCK_NONBLOCK);
    const sockaddr_un address = address_below(directory, making);
    const bool made =
        listener.valid() &&
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

android::status_t connect_to(int directory, const std::string& name, int timeout_ms,
                             unique_fd* connected, peer_identity* peer) {
    const unique_fd file(openat(directory, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat kind = {};
    if (!file.valid() || fstat(file.get(), &kind) != 0 || !S_ISSOCK(kind.st_mode)) {
        return android::NAME_NOT_FOUND;
    }
    const sockaddr_un address = address_below(file.get(), "");
    unique_fd socket = make_socket(0);
    // Connecting waits while the service's queue is full, as it is where that is busy, or stopped.
    timeval patience = {};
    patience.tv_sec = timeout_ms / 1000;
    patience.tv_usec = timeout_ms % 1000 * 1000;
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    int error = EINTR;
    while (error == EINTR) {
        const bool done =
            connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        error = done ? 0 : errno;
    }
    if (error == ENOENT || error == ECONNREFUSED) {
        return android::NAME_NOT_FOUND;
    }
    if (error == EAGAIN) {
        return android::TIMED_OUT;
    }
    if (error != 0 || !identify_peer(socket.get(), peer)) {
        BINDER_LOG(ERROR, "the service '%s' cannot be reached: %s", name.c_str(), strerror(error));
        return -error;
    }
    if (geteuid() != 0 && !may_connect(*peer)) {
        BINDER_LOG(ERROR, "the service '%s' is offered by user %u and is not used", name.c_str(),
                   static_cast<unsigned>(peer->uid));
        return android::PERMISSION_DENIED;
    }
    *connected = std::move(socket);
    return android::NO_ERROR;
}

bool identify_peer(int socket, peer_identity* peer) {
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return false;
    }
    *peer = {credentials.pid, credentials.uid};
    return true;
}

bool may_connect(const peer_identity& peer) {
    return peer.uid == geteuid() || peer.uid == 0;
}

}  // namespace corvex_binder
