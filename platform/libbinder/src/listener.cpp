#include "listener.h"

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "connection.h"
#include "log.h"

namespace corvex_binder {

std::shared_ptr<listener> listener::make(const std::string& file, android::status_t* status) {
    unique_fd directory = open_socket_directory(true, false, status);
    if (!directory.valid()) {
        return nullptr;
    }
    auto made = std::make_shared<listener>(std::move(directory), file);
    made->socket_ = listen_at(made->directory_.get(), file, &made->identity_, status);
    return made->socket_.valid() ? made : nullptr;
}

listener::listener(unique_fd&& directory, std::string file)
    : directory_(std::move(directory)), file_(std::move(file)) {}

bool listener::start() {
    io_loop* loop = io_loop::get();
    return loop != nullptr && loop->add(shared_from_this(), EPOLLIN);
}

void listener::stop() {
    if (io_loop* loop = io_loop::get()) {
        loop->remove(*this);
    }
}

bool listener::has_name() const {
    socket_identity now;
    return identify(directory_.get(), file_, &now) && now == identity_;
}

void listener::remove_file() const {
    if (has_name()) {
        unlinkat(directory_.get(), file_.c_str(), 0);
    }
}

void listener::on_events(uint32_t /*events*/) {
    for (;;) {
        unique_fd socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket.valid()) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                pause(strerror(errno));
            }
            if (errno != EINTR && errno != ECONNABORTED) {
                return;
            }
            continue;
        }
        peer_identity peer;
        if (!identify_peer(socket.get(), &peer)) {
            continue;
        }
        if (!may_connect(peer)) {
            BINDER_LOG(ERROR, "process %d of user %u is not let in at the service '%s'", peer.pid,
                       static_cast<unsigned>(peer.uid), file_.c_str());
            continue;
        }
        std::make_shared<connection>(std::move(socket), peer)->open();
    }
}

// What waits stays readable: asking again at once would never end.
void listener::pause(const char* why) {
    if (!complained_) {
        complained_ = true;
        BINDER_LOG(ERROR, "who connects to the service '%s' has to wait: %s", file_.c_str(), why);
    }
    if (!paused_) {
        paused_ = true;
        io_loop::get()->want_ticks(*this, true);
        io_loop::get()->set_events(*this, 0);
    }
}

void listener::on_tick() {
    if (paused_) {
        paused_ = false;
        io_loop::get()->want_ticks(*this, false);
        io_loop::get()->set_events(*this, EPOLLIN);
    }
}

}  // namespace corvex_binder
