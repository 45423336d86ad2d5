// A connection's life, and what it receives over its control socket. The latter is on the loop's
// thread: nothing there may block, drop a reference of somebody else's, or close a descriptor that
// has come from outside.

#include "connection.h"

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "calling_identity.h"
#include "carried_parcel.h"

namespace corvex_binder {

using android::BpBinder;
using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;

namespace {

constexpr int kMessagesAtOnce = 16;  // then others have their turn

}  // namespace

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
        objects_.end_if_empty([this] { return oneway_cost_ == 0 && !control_.has_waiting(); })) {
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
        BpBinder::notify_death(std::move(proxy));
    }
    if (!objects.empty()) {
        release_later(std::move(objects));
    }
}

void connection::on_events(uint32_t events) {
    if ((events & EPOLLOUT) != 0 && control_.flush()) {
        io_loop::get()->set_events(*this, EPOLLIN | EPOLLRDHUP);
        // Another thread may have found it full meanwhile.
        if (control_.has_waiting()) {
            io_loop::get()->set_events(*this, EPOLLIN | EPOLLRDHUP | EPOLLOUT);
        }
        close_if_idle();
    }
    if ((events & ~EPOLLOUT) != 0) {
        read_control();
    }
}

// Descriptors that have come from outside. Closing a socket may wait, for as long as its other end
// likes, unless it is told not to.
void connection::close_later(std::vector<unique_fd>&& descriptors) {
    auto close_all = [held = std::move(descriptors)]() mutable {
        for (unique_fd& descriptor : held) {
            const linger at_once = {0, 0};
            setsockopt(descriptor.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
            descriptor.reset();
        }
    };
    // Not in the queue of what may be blocked.
    executor::get().post(&control_, nullptr, make_job(std::move(close_all)));
}

void connection::read_control() {
    static uint8_t room[kMaxMessageBytes];
    for (int i = 0; i < kMessagesAtOnce; ++i) {
        received_message message;
        receive_message(control_.fd(), room, sizeof room, MSG_DONTWAIT, &message);
        if (message.bytes < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        const auto size = static_cast<size_t>(message.bytes > 0 ? message.bytes : 0);
        const bool has_ended = size == 0;
        const bool is_good = has_ended || receive(message, room, size);
        if (!message.descriptors.empty()) {
            close_later(std::move(message.descriptors));
        }
        if (!is_good) {
            end_for("it does not keep to the protocol");
        }
        if (has_ended || !is_good) {
            finish();
            return;
        }
    }
}

bool connection::receive(received_message& message, const uint8_t* bytes, size_t size) {
    const uint32_t type = message_type_of(bytes, size);
    if (!is_greeted_) {
        return type == kHello && receive_hello(bytes, size);
    }
    switch (type) {
        case kOnewayCall:
            return receive_oneway(message, bytes, size);
        case kOnewayDone:
            return receive_oneway_done(bytes, size);
        case kRelease:
            return receive_release(bytes, size);
        case kChannel:
            return receive_channel(message, size);
        default:
            return false;
    }
}

bool connection::receive_hello(const uint8_t* bytes, size_t size) {
    hello_message hello = {};
    if (size != sizeof hello || !decode_fixed(bytes, size, &hello, sizeof hello) ||
        memcmp(hello.magic, kWireMagic, sizeof hello.magic) != 0) {
        return false;
    }
    // Also where the version is another one: that is for the other side to see.
    is_greeted_ = true;
    tell(control_.send(make_hello(android::NO_ERROR)));
    return hello.version == kWireVersion;
}

bool connection::receive_oneway(received_message& message, const uint8_t* bytes, size_t size) {
    call_message call = {};
    if (!decode_fixed(bytes, size, &call, sizeof call) || call.number != 0 ||
        (call.flags & IBinder::FLAG_ONEWAY) == 0) {
        return false;
    }
    wire_parcel wire;
    const bool holds = decode_parcel(call.parcel, bytes + sizeof call, size - sizeof call, &wire);
    const size_t descriptors = holds ? wire.descriptors : message.descriptors.size();
    const uint64_t cost = message_cost(size, descriptors);
    const bool has_bytes = other_->take(resource::oneway_bytes, size);
    const bool has_room = has_bytes && other_->take(resource::descriptors, descriptors);
    if (!has_room) {
        close_later(std::move(message.descriptors));
        message.descriptors.clear();
        message.lost_descriptors = true;
    }
    auto data = std::make_unique<Parcel>();
    status_t status = take_parcel(shared_from_this(), objects_, call.parcel, bytes + sizeof call,
                                  size - sizeof call, message, data.get());
    sp<IBinder> target = objects_.find(call.target);
    if (!has_room) {
        status = android::FAILED_TRANSACTION;
    } else if (status == android::NO_ERROR && target == nullptr) {
        status = android::NAME_NOT_FOUND;
    }
    const auto self = shared_from_this();
    auto done = [self, cost, size, descriptors, has_bytes, has_room] {
        self->tell(self->control_.send(oneway_done_message{kOnewayDone, 0, cost}));
        self->close_if_idle();
        self->other_->give_back(resource::oneway_bytes, has_bytes ? size : 0);
        self->other_->give_back(resource::descriptors, has_room ? descriptors : 0);
    };
    if (status != android::NO_ERROR) {
        // At once, so that nothing of what is refused waits for what the other side has blocked.
        note_refusal(*other_, "one-way call", status);
        executor::get().release_later(&control_, nullptr, std::move(data));
        executor::get().release_later(&control_, nullptr, std::move(target));
        done();
        return true;
    }
    const void* queue = target.get();
    auto serve = [self, call, done, object = std::move(target), data = std::move(data)]() mutable {
        warn_without_pool();
        {
            const calling_identity caller(*self->other_);
            Parcel unread;
            object->transact(call.code, *data, &unread, call.flags);
        }
        object = nullptr;
        data = nullptr;
        done();
    };
    executor::get().post(queue, other_, make_job(std::move(serve)));
    return true;
}

bool connection::receive_oneway_done(const uint8_t* bytes, size_t size) {
    oneway_done_message done = {};
    if (!decode_fixed(bytes, size, &done, sizeof done) || done.cost > oneway_cost_) {
        return false;
    }
    oneway_cost_ -= done.cost;
    close_if_idle();
    return true;
}

bool connection::receive_release(const uint8_t* bytes, size_t size) {
    release_message message = {};
    sp<IBinder> released;
    if (!decode_fixed(bytes, size, &message, sizeof message) ||
        !objects_.release(message, &released)) {
        return false;
    }
    if (released != nullptr) {
        release_later(std::move(released));
        close_if_idle();
    }
    return true;
}

bool connection::receive_channel(received_message& message, size_t size) {
    if (size != sizeof(plain_message)) {
        return false;
    }
    if (message.lost_descriptors) {
        // The channel ended with its descriptor, which its maker sees.
        complain(other_->lines, complaint::channel_refused,
                 "calls of process %d are refused: no descriptors left", other_->identity.pid);
        return true;
    }
    if (message.descriptors.size() != 1) {
        return false;
    }
    if (!served_.serve(shared_from_this(), message.descriptors[0])) {
        const plain_message refused = {kRefused, 0};
        const iovec part = {const_cast<plain_message*>(&refused), sizeof refused};
        send_message(message.descriptors[0].get(), &part, 1, nullptr, 0, MSG_DONTWAIT);
    }
    return true;
}

}  // namespace corvex_binder
