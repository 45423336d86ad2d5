// What a connection receives. On the loop's thread: nothing here may block, or let go of an object.
//
// False means that the other side does not keep to the protocol, which is the end of the
// connection. A call whose parcel does not hold together is refused instead.

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "connection.h"
#include "dispatch.h"
#include "log.h"
#include "proxy.h"
#include "service_registry.h"

namespace corvex_binder {

namespace {

constexpr size_t kReadBytes = size_t{64} << 10;
constexpr int kReadsAtOnce = 16;  // then others have their turn
constexpr int kTicksToGreet = 10;

// What may wait here to be served for one connection.
constexpr uint64_t kMaxIncomingCost = uint64_t{64} << 20;

// Takes over the descriptors of a message.
std::vector<unique_fd> take_descriptors(msghdr& message) {
    std::vector<unique_fd> descriptors;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            memcpy(&descriptor, CMSG_DATA(header) + i * sizeof descriptor, sizeof descriptor);
            descriptors.emplace_back(descriptor);
        }
    }
    return descriptors;
}

}  // namespace

void connection::on_events(uint32_t events) {
    if ((events & EPOLLOUT) != 0) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (is_open()) {
            flush();
        }
    }
    if ((events & ~EPOLLOUT) != 0) {
        read_all();
    }
}

// Reads what is there, up to a measure; finishes at the end of the stream.
void connection::read_all() {
    static uint8_t bytes[kReadBytes];
    for (int i = 0; i < kReadsAtOnce; ++i) {
        iovec part = {bytes, sizeof bytes};
        alignas(cmsghdr) char control[CMSG_SPACE(kMaxFrameDescriptors * sizeof(int))];
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t got = recvmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && errno == EAGAIN) {
            return;
        }
        if (got <= 0) {
            finish(nullptr);
            return;
        }
        std::vector<unique_fd> descriptors = take_descriptors(message);
        if ((message.msg_flags & MSG_CTRUNC) != 0) {
            finish("it sent too many descriptors at once, or this process has none left");
            return;
        }
        reader_.feed(bytes, static_cast<size_t>(got), std::move(descriptors));
        if (!receive_frames()) {
            finish("it does not keep to the protocol");
            return;
        }
    }
}

bool connection::receive_frames() {
    incoming_frame frame;
    for (;;) {
        const frame_reader::result result = reader_.next(&frame);
        if (result != frame_reader::result::frame) {
            return result == frame_reader::result::need_more;
        }
        if (!receive(frame)) {
            return false;
        }
    }
}

bool connection::receive(incoming_frame& frame) {
    if (!greeted_) {
        return frame.type == kHelloFrame && receive_hello(frame);
    }
    switch (frame.type) {
        case kCallFrame:
            return receive_call(frame);
        case kReplyFrame:
            return receive_reply(frame);
        case kOnewayDoneFrame:
            return receive_oneway_done(frame);
        case kReleaseFrame:
            return receive_release(frame);
        case kObjectDiedFrame:
            return receive_object_died(frame);
        default:
            return false;
    }
}

bool connection::receive_hello(const incoming_frame& frame) {
    if (!read_hello(frame.payload, frame.payload_bytes, &process_)) {
        return false;
    }
    stop_waiting_for_hello();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        enqueue(make_hello());
    }
    add_peer(process_, shared_from_this());
    return true;
}

// Accepted connections wait for their hello from open() on.
void connection::stop_waiting_for_hello() {
    if (!greeted_) {
        greeted_ = true;
        io_loop::get()->want_ticks(*this, false);
    }
}

void connection::on_tick() {
    if (!greeted_ && ++ticks_ungreeted_ > kTicksToGreet) {
        finish("it does not say hello");
    }
}

// The parcel behind the first `at` bytes of a payload; null, with a line in the log, where it does
// not hold together.
std::unique_ptr<android::Parcel> connection::take_parcel(incoming_frame& frame, size_t at) {
    wire_parcel wire;
    objects_list objects;
    auto parcel = std::make_unique<android::Parcel>();
    if (decode_parcel(frame.payload + at, frame.payload_bytes - at, frame.descriptors.size(),
                      &wire) &&
        take_objects(wire, frame.descriptors, &objects) &&
        parcel_access::fill(*parcel, wire.data, wire.data_bytes, &objects) == android::NO_ERROR) {
        return parcel;
    }
    let_go(std::move(objects));
    BINDER_LOG(ERROR, "a parcel from process %d does not hold together and is refused", peer_.pid);
    return nullptr;
}

bool connection::take_objects(const wire_parcel& wire, std::vector<unique_fd>& descriptors,
                              objects_list* objects) {
    size_t next_descriptor = 0;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const wire_object& object : wire.objects) {
        parcel_object taken;
        taken.offset = object.offset;
        if (object.kind == kDescriptor) {
            taken.type = kDescriptorType;
            taken.fd = descriptors[next_descriptor++].release();
            taken.owns_fd = true;
        } else if (object.kind == kSendersObject && object.object != kRegistry) {
            taken.binder = proxy_of(object.object);
        } else {
            const auto found = exports_.find(object.object);
            if (found == exports_.end()) {
                return false;
            }
            taken.binder = found->second.object;
        }
        objects->push_back(std::move(taken));
    }
    return true;
}

// The one proxy of this object, received once more. With the lock held.
android::sp<android::BpBinder> connection::proxy_of(uint64_t object) {
    android::wp<android::BpBinder>& known = proxies_[object];
    android::sp<android::BpBinder> proxy = known.promote();
    if (proxy == nullptr) {
        proxy = proxy_access::make(shared_from_this(), object);
        known = proxy;
    }
    ++proxy_access::state(*proxy).received;
    return proxy;
}

android::sp<android::IBinder> connection::find_target(uint64_t target) {
    if (target == kRegistry) {
        return registry_object();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = exports_.find(target);
    return found != exports_.end() ? found->second.object : nullptr;
}

bool connection::receive_call(incoming_frame& frame) {
    call_payload fixed = {};
    if (!decode_fixed(frame.payload, frame.payload_bytes, &fixed, sizeof fixed) ||
        (fixed.call == 0) != ((fixed.flags & android::IBinder::FLAG_ONEWAY) != 0)) {
        return false;
    }
    auto call = std::make_unique<incoming_call>();
    call->from = shared_from_this();
    call->call = fixed.call;
    call->cost = frame_cost(frame.payload_bytes, frame.descriptors.size());
    call->is_lookup = fixed.target == kRegistry;
    call->code = fixed.code;
    call->flags = fixed.flags;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++incoming_calls_;
        incoming_cost_ += call->cost;
        incoming_oneway_cost_ += fixed.call == 0 ? call->cost : 0;
        if (incoming_cost_ > kMaxIncomingCost || incoming_oneway_cost_ > kMaxOnewayCost) {
            return false;
        }
    }
    call->data = take_parcel(frame, sizeof fixed);
    call->target = find_target(fixed.target);
    if (call->data != nullptr && call->target != nullptr) {
        dispatch(std::move(call));
        return true;
    }
    if (call->target == nullptr) {
        BINDER_LOG(ERROR, "a call from process %d is for an object that it does not have",
                   peer_.pid);
    }
    if (fixed.call != 0) {
        send_reply(fixed.call, call->cost, android::BAD_VALUE, {});
    } else {
        send_oneway_done(call->cost);
    }
    let_go(std::move(call->target));
    let_go(std::move(call->data));
    return true;
}

bool connection::receive_reply(incoming_frame& frame) {
    reply_payload fixed = {};
    if (!decode_fixed(frame.payload, frame.payload_bytes, &fixed, sizeof fixed) ||
        fixed.status > 0) {
        return false;
    }
    std::unique_ptr<android::Parcel> parcel;
    if (fixed.status == android::NO_ERROR) {
        parcel = take_parcel(frame, sizeof fixed);
        fixed.status = parcel != nullptr ? android::NO_ERROR : android::BAD_VALUE;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (fixed.call == 0 || fixed.call > last_call_) {
            return false;
        }
        const auto found = pending_.find(fixed.call);
        if (found != pending_.end()) {
            pending_call& pending = *found->second;
            pending.status = fixed.status;
            pending.reply = std::move(parcel);
            pending.done = true;
            pending.done_or_dead.notify_all();
            pending_.erase(found);
        }
    }
    // Of a call that has stopped waiting.
    let_go(std::move(parcel));
    return true;
}

bool connection::receive_oneway_done(const incoming_frame& frame) {
    oneway_done_payload fixed = {};
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!decode_fixed(frame.payload, frame.payload_bytes, &fixed, sizeof fixed) ||
        fixed.cost > oneway_cost_) {
        return false;
    }
    oneway_cost_ -= fixed.cost;
    close_if_idle();
    return true;
}

bool connection::receive_release(const incoming_frame& frame) {
    release_payload fixed = {};
    android::sp<android::IBinder> released;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = decode_fixed(frame.payload, frame.payload_bytes, &fixed, sizeof fixed)
                               ? exports_.find(fixed.object)
                               : exports_.end();
        if (found == exports_.end() || fixed.times > found->second.times_sent) {
            return false;
        }
        found->second.times_sent -= fixed.times;
        if (found->second.times_sent == 0) {
            released = std::move(found->second.object);
            export_names_.erase(released.get());
            exports_.erase(found);
            close_if_idle();
        }
    }
    if (released != nullptr) {
        if (const android::BpBinder* proxy = released->remoteBinder()) {
            remove_forwarding(*proxy, this, fixed.object);
        }
        let_go(std::move(released));
    }
    return true;
}

bool connection::receive_object_died(const incoming_frame& frame) {
    object_died_payload fixed = {};
    if (!decode_fixed(frame.payload, frame.payload_bytes, &fixed, sizeof fixed)) {
        return false;
    }
    android::sp<android::BpBinder> proxy;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = proxies_.find(fixed.object);
        if (found != proxies_.end()) {
            proxy = found->second.promote();
        }
    }
    // It may just have been released.
    if (proxy != nullptr) {
        bury(std::move(proxy));
    }
    return true;
}

}  // namespace corvex_binder
