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
            release_later(std::move(message.descriptors));
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
    auto data = std::make_unique<Parcel>();
    status_t status = take_parcel(shared_from_this(), objects_, call.parcel, bytes + sizeof call,
                                  size - sizeof call, message, data.get());
    sp<IBinder> target = objects_.find(call.target);
    if (!has_room) {
        status = android::FAILED_TRANSACTION;
    } else if (status == android::NO_ERROR && target == nullptr) {
        status = android::NAME_NOT_FOUND;
    }
    if (status != android::NO_ERROR) {
        note_refusal(*other_, "one-way call", status);
        release_later(std::move(target));
        target = nullptr;
    }
    const void* queue = target != nullptr ? static_cast<const void*>(target.get()) : this;
    executor::get().post(
        queue, other_,
        make_job([self = shared_from_this(), object = std::move(target), data = std::move(data),
                  call, cost, size, descriptors, has_bytes, has_room]() mutable {
            if (object != nullptr) {
                warn_without_pool();
                const calling_identity caller(*self->other_);
                Parcel unread;
                object->transact(call.code, *data, &unread, call.flags);
                object = nullptr;
            }
            data = nullptr;
            self->tell(self->control_.send(oneway_done_message{kOnewayDone, 0, cost}));
            self->close_if_idle();
            if (has_bytes) {
                self->other_->give_back(resource::oneway_bytes, size);
            }
            if (has_room) {
                self->other_->give_back(resource::descriptors, descriptors);
            }
        }));
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
    unique_fd channel = std::move(message.descriptors[0]);
    if (!served_.serve(shared_from_this(), channel)) {
        executor::get().post(
            this, other_, make_job([socket = std::move(channel)] {
                const plain_message refused = {kRefused, 0};
                const iovec part = {const_cast<plain_message*>(&refused), sizeof refused};
                send_message(socket.get(), &part, 1, nullptr, 0, MSG_DONTWAIT);
            }));
    }
    return true;
}

}  // namespace corvex_binder
