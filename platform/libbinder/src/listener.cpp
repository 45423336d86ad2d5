#include "listener.h"

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "connection.h"
#include "log.h"
#include "message.h"

namespace corvex_binder {

namespace {

constexpr int kAcceptedAtOnce = 16;  // then others have their turn

}  // namespace

std::shared_ptr<listener> listener::make(const std::string& file,
                                         const android::sp<android::IBinder>& service,
                                         android::status_t* status) {
    unique_fd directory = open_socket_directory(true, status);
    if (!directory.valid()) {
        return nullptr;
    }
    auto made = std::make_shared<listener>(std::move(directory), file, service);
    made->socket_ = listen_at(made->directory_.get(), file, &made->identity_, status);
    if (!made->socket_.valid()) {
        return nullptr;
    }
    io_loop* loop = io_loop::get();
    if (loop == nullptr || !loop->add(made, EPOLLIN)) {
        made->remove_file();
        *status = android::NO_MEMORY;
        return nullptr;
    }
    return made;
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
    for (int i = 0; i < kAcceptedAtOnce; ++i) {
        unique_fd socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.valid()) {
            accept_one(std::move(socket));
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            // What waits stays readable: asking again at once would never end.
            complain(strangers_, complaint::connection_refused,
                     "who connects to the service '%s' has to wait: %s", file_.c_str(),
                     strerror(errno));
            io_loop::get()->set_events(*this, 0);
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return;
        }
    }
}

void listener::accept_one(unique_fd&& socket) {
    peer_identity identity;
    if (!identify_peer(socket.get(), &identity)) {
        return;
    }
    if (!may_connect(identity)) {
        complain(strangers_, complaint::connection_refused,
                 "process %d of user %u is not let in at the service '%s'", identity.pid,
                 static_cast<unsigned>(identity.uid), file_.c_str());
        return;
    }
    const std::shared_ptr<peer> other = peer::of(identity);
    if (!other->take(resource::connections, 1)) {
        complain(other->lines, complaint::connection_refused,
                 "process %d is not let in at the service '%s': there are too many connections",
                 identity.pid, file_.c_str());
        const hello_message refusal = make_hello(android::FAILED_TRANSACTION);
        const iovec part = {const_cast<hello_message*>(&refusal), sizeof refusal};
        send_message(socket.get(), &part, 1, nullptr, 0, MSG_DONTWAIT);
        return;
    }
    make_room_for_messages(socket.get());
    if (!std::make_shared<connection>(std::move(socket), other, service_)->open()) {
        other->give_back(resource::connections, 1);
    }
}

void listener::on_tick() {
    io_loop::get()->set_events(*this, EPOLLIN);
}

}  // namespace corvex_binder
