// A connection's life, and what it receives over its control socket. The latter is on the loop's
// thread: nothing there may block, drop a reference of somebody else's, or close a descriptor that
// has come from outside.

#include "connection.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

#include "carried_parcel.h"
#include "executor.h"

namespace android::corvex_binder {

namespace {

constexpr int kMessagesAtOnce = 16;  // then others have their turn

}  // namespace

hello_message make_hello(status_t status) {
    hello_message hello = {kHello, kWireVersion, {}, status, 0};
    memcpy(hello.magic, kWireMagic, sizeof hello.magic);
    return hello;
}

connection::connection(unique_fd&& socket, std::shared_ptr<peer> other, const sp<IBinder>& service,
                       share place)
    : other_(std::move(other)),
      by_us_(service == nullptr),
      place_(std::move(place)),
      is_greeted_(by_us_),
      control_(std::move(socket), *this) {
    if (!by_us_) {
        objects_.offer_service(service);
    }
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
        control_.send(release);
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
    complain(&other_->lines, "the connection to process %d is given up: %s", other_->identity.pid,
             why);
    control_.shut_down();
}

// On the loop's thread.
void connection::finish() {
    io_loop::get()->remove(*this);
    control_.shut_down();
    channels_.end();
    served_.end();
    place_ = nullptr;
    std::vector<sp<BpBinder>> proxies;
    std::vector<sp<IBinder>> objects;
    objects_.end(&proxies, &objects);
    for (sp<BpBinder>& proxy : proxies) {
        BpBinder::notify_death(std::move(proxy));
    }
    if (!objects.empty()) {
        executor::get().release_later(this, other_, std::move(objects));
    }
}

void connection::on_output() {
    if (control_.flush()) {
        close_if_idle();
    }
}

// Descriptors that have come from outside. Closing a socket may wait, for as long as its other end
// likes, unless it is told not to.
void connection::close_later(std::vector<unique_fd>&& descriptors) {
    auto held = std::make_shared<std::vector<unique_fd>>(std::move(descriptors));
    // Not in the queue of what may be blocked.
    executor::get().post(&control_, nullptr, [held] {
        for (unique_fd& descriptor : *held) {
            const linger at_once = {0, 0};
            setsockopt(descriptor.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
            descriptor.reset();
        }
    });
}

void connection::on_input() {
    static uint8_t room[kMaxMessageBytes];
    for (int i = 0; i < kMessagesAtOnce; ++i) {
        received_message message = receive_message(control_.fd(), room, sizeof room, MSG_DONTWAIT);
        if (message.error == EAGAIN || message.error == EINTR) {
            return;
        }
        const bool has_ended = message.size == 0;
        const bool is_good = has_ended || receive(message);
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

bool connection::receive(received_message& message) {
    if (!is_greeted_) {
        return receive_hello(message);
    }
    switch (message.type()) {
        case kOnewayCall:
            return receive_oneway(message);
        case kOnewayDone:
            return receive_oneway_done(message);
        case kRelease:
            return receive_release(message);
        case kChannel:
            return receive_channel(message);
        default:
            return false;
    }
}

bool connection::receive_hello(const received_message& message) {
    hello_message hello = {};
    if (message.size != sizeof hello || !message.decode(&hello) || hello.type != kHello ||
        memcmp(hello.magic, kWireMagic, sizeof hello.magic) != 0) {
        return false;
    }
    // Also where the version is another one: that is for the other side to see.
    is_greeted_ = true;
    control_.send(make_hello(NO_ERROR));
    return hello.version == kWireVersion;
}

status_t connection::take_call(const call_message& call, const wire_parcel& wire,
                               received_message& message, const char* what, Parcel* data,
                               incoming_call* taken) {
    taken->descriptors = other_->take(resource::descriptors, wire.descriptors);
    message.lacks_room = message.lacks_room || taken->descriptors == nullptr;
    status_t status = take_parcel(shared_from_this(), objects_, wire, message, data);
    taken->target = objects_.find(call.target);
    if (status == NO_ERROR && taken->target == nullptr) {
        status = NAME_NOT_FOUND;
    }
    if (status != NO_ERROR) {
        note_refusal(*other_, what, status);
    }
    return status;
}

bool connection::receive_oneway(received_message& message) {
    call_message call = {};
    if (!message.decode(&call) || call.number != 0 || (call.flags & IBinder::FLAG_ONEWAY) == 0) {
        return false;
    }
    const wire_parcel wire = decode_parcel(call.parcel, message, sizeof call);
    const uint64_t cost = message_cost(message.size, wire.descriptors);
    share bytes = other_->take(resource::oneway_bytes, message.size);
    message.lacks_room = message.lacks_room || bytes == nullptr;
    auto data = std::make_shared<Parcel>();
    incoming_call taken;
    if (take_call(call, wire, message, "one-way call", data.get(), &taken) != NO_ERROR) {
        // At once, so that nothing of what is refused waits for what the other side has blocked.
        executor::get().release_later(&control_, nullptr, std::move(data));
        executor::get().release_later(&control_, nullptr, std::move(taken));
        finish_oneway(cost);
        return true;
    }
    // Moved all the way: this thread must not be the one that drops it.
    const void* queue = taken.target.get();
    auto serve = [self = shared_from_this(), call, cost, data = std::move(data),
                  taken = std::move(taken), bytes = std::move(bytes)]() mutable {
        Parcel unread;
        serve_call(*self->other_, *taken.target, call, *data, &unread);
        data = nullptr;
        taken = {};
        bytes = nullptr;
        self->finish_oneway(cost);
    };
    executor::get().post(queue, other_, std::move(serve));
    return true;
}

void connection::finish_oneway(uint64_t cost) {
    control_.send(oneway_done_message{kOnewayDone, 0, cost});
    close_if_idle();
}

bool connection::receive_oneway_done(const received_message& message) {
    oneway_done_message done = {};
    if (!message.decode(&done) || done.cost > oneway_cost_) {
        return false;
    }
    oneway_cost_ -= done.cost;
    close_if_idle();
    return true;
}

bool connection::receive_release(const received_message& message) {
    release_message release = {};
    sp<IBinder> released;
    if (!message.decode(&release) || !objects_.release(release, &released)) {
        return false;
    }
    if (released != nullptr) {
        executor::get().release_later(this, other_, std::move(released));
        close_if_idle();
    }
    return true;
}

bool connection::receive_channel(received_message& message) {
    if (message.size != sizeof(plain_message) ||
        (message.descriptors.size() != 1 && !message.lacks_room)) {
        return false;
    }
    // Without its descriptor, the channel has ended, which its maker sees.
    std::string fault = "no descriptors left";
    if (!message.lacks_room) {
        fault = served_.serve(shared_from_this(), message.descriptors[0]);
        if (!fault.empty()) {
            send_message(message.descriptors[0].get(), plain_message{kRefused, 0}, MSG_DONTWAIT);
        }
    }
    if (!fault.empty()) {
        complain(&other_->lines, "calls of process %d are refused: %s", other_->identity.pid,
                 fault.c_str());
    }
    return true;
}

}  // namespace android::corvex_binder
