// The services that this process offers: each has a socket of its name, at which others connect.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "connection.h"
#include "services.h"
#include "socket_directory.h"

namespace android::corvex_binder {

namespace {

constexpr int kAcceptedAtOnce = 16;  // then others have their turn

class listener : public endpoint {
  public:
    listener(std::string file, const sp<IBinder>& service)
        : file_(std::move(file)), service_(service) {}

    // Takes the name in the folder of services. NO_ERROR, or why not.
    status_t open();
    // Gives the name back, if it is still ours.
    void remove_file() const;
    // Null once the name is not ours any more: taken over by another one, or removed.
    sp<IBinder> service() const { return has_name() ? service_ : nullptr; }

    int fd() const override { return socket_.get(); }
    void on_input() override;
    void on_tick() override { io_loop::get()->set_events(*this, true); }

  private:
    bool has_name() const;
    void accept_one(unique_fd&& socket);

    const std::string file_;
    const sp<IBinder> service_;
    unique_fd directory_;
    unique_fd socket_;
    socket_identity identity_;
    complaints strangers_;
};

status_t listener::open() {
    status_t status = NO_ERROR;
    directory_ = open_socket_directory(true, &status);
    if (directory_.ok()) {
        socket_ = listen_at(directory_.get(), file_, &identity_, &status);
    }
    return status;
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

void listener::on_input() {
    for (int i = 0; i < kAcceptedAtOnce; ++i) {
        unique_fd socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.ok()) {
            accept_one(std::move(socket));
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            // What waits stays readable: asking again at once would never end. The next tick does.
            complain(&strangers_, "who connects to the service '%s' has to wait: %s", file_.c_str(),
                     strerror(errno));
            io_loop::get()->set_events(*this, false);
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return;
        }
    }
}

void listener::accept_one(unique_fd&& socket) {
    ucred identity = {};
    if (!identify_peer(socket.get(), &identity)) {
        return;
    }
    if (!may_connect(identity)) {
        complain(&strangers_, "process %d of user %u is not let in at the service '%s'",
                 identity.pid, static_cast<unsigned>(identity.uid), file_.c_str());
        return;
    }
    const std::shared_ptr<peer> other = peer::of(identity);
    share place = other->take(resource::connections, 1);
    if (place == nullptr) {
        complain(&other->lines,
                 "process %d is not let in at the service '%s': there are too many connections",
                 identity.pid, file_.c_str());
        send_message(socket.get(), make_hello(FAILED_TRANSACTION), MSG_DONTWAIT);
        return;
    }
    make_room_for_messages(socket.get());
    io_loop::get()->add(
        std::make_shared<connection>(std::move(socket), other, service_, std::move(place)));
}

struct offered_services {
    Mutex mutex;
    std::map<std::string, std::shared_ptr<listener>> by_name GUARDED_BY(mutex);
};

offered_services& own() {
    static auto* services = new offered_services;
    return *services;
}

pid_t registered_by = -1;

// At exit: what nobody has replaced would only be in the way of the next one.
void remove_sockets() {
    if (getpid() == registered_by) {
        const Mutex::Autolock lock(own().mutex);
        for (const auto& [file, offered] : own().by_name) {
            offered->remove_file();
        }
    }
}

}  // namespace

sp<IBinder> find_offered_service(const std::string& file) {
    const Mutex::Autolock lock(own().mutex);
    const auto found = own().by_name.find(file);
    return found != own().by_name.end() ? found->second->service() : nullptr;
}

status_t offer_service(const std::string& file, const sp<IBinder>& service) {
    std::shared_ptr<listener> replaced;  // goes after the lock: its end may run anything
    // Socket and table change together, so that of two registrations the same one is found in both.
    const Mutex::Autolock lock(own().mutex);
    const auto made = std::make_shared<listener>(file, service);
    const status_t status = made->open();
    if (status != NO_ERROR) {
        return status;
    }
    io_loop* loop = io_loop::get();
    if (loop == nullptr || !loop->add(made)) {
        made->remove_file();
        return NO_MEMORY;
    }
    if (std::exchange(registered_by, getpid()) != getpid()) {
        atexit(remove_sockets);
    }
    replaced = std::exchange(own().by_name[file], made);
    if (replaced != nullptr) {
        loop->remove(*replaced);
    }
    return NO_ERROR;
}

}  // namespace android::corvex_binder
