// A connection's life.

#include "connection.h"

#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "executor.h"
#include "log.h"
#include "proxy.h"

namespace corvex_binder {

using android::BpBinder;
using android::IBinder;
using android::sp;

hello_message make_hello(android::status_t status) {
    hello_message hello = {kHello, kWireVersion, {}, status, 0};
    memcpy(hello.magic, kWireMagic, sizeof hello.magic);
    return hello;
}

connection::connection(unique_fd&& socket, const std::shared_ptr<peer>& other)
    : other_(other), by_us_(true), is_greeted_(true), control_(std::move(socket)) {}

connection::connection(unique_fd&& socket, const std::shared_ptr<peer>& other,
                       const sp<IBinder>& service)
    : other_(other), by_us_(false), is_greeted_(false), control_(std::move(socket)) {
    objects_.offer_service(service);
}

connection::~connection() = default;

bool connection::open() {
    io_loop* loop = io_loop::get();
    return loop != nullptr && loop->add(shared_from_this(), EPOLLIN | EPOLLRDHUP);
}

sp<IBinder> connection::service() {
    return objects_.service(shared_from_this());
}

void connection::release_proxy(const BpBinder* proxy) {
    if (io_loop::is_cut_off()) {
        return;
    }
    const release_message release = objects_.forget(proxy);
    if (release.received > 0) {
        tell(control_.send(release));
    }
    close_if_idle();
}

// Only who has made a connection ends it: the other side may be about to send something over it, or
// may not have sent anything yet.
void connection::close_if_idle() {
    if (by_us_ &&
        objects_.end_if_empty([this] { return !oneway_.has_sent() && !control_.has_waiting(); })) {
        control_.shut_down();
    }
}

void connection::end_for(const char* why) {
    complain(other_->lines, complaint::connection_ended,
             "the connection to process %d is given up: %s", other_->identity.pid, why);
    control_.shut_down();
}

// On the loop's thread.
void connection::finish() {
    io_loop::get()->remove(*this);
    control_.shut_down();
    channels_.end();
    served_.end();
    if (!by_us_) {
        other_->give_back(resource::connections, 1);
    }
    std::vector<sp<BpBinder>> proxies;
    std::vector<sp<IBinder>> objects;
    objects_.end(&proxies, &objects);
    for (sp<BpBinder>& proxy : proxies) {
        notify_death(std::move(proxy));
    }
    if (!objects.empty()) {
        release_later(std::move(objects));
    }
}

}  // namespace corvex_binder
