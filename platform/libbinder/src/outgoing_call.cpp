// A connection's own calls. The caller's thread does all of it: it takes a channel, sends, and
// waits in the socket for the reply.

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "carried_parcel.h"
#include "connection.h"
#include "executor.h"
#include "log.h"

namespace corvex_binder {

using android::Parcel;
using android::status_t;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// A channel has ended. Whether the process has as well is known soon.
constexpr int kNoticeMs = 100;

int left_ms(steady_clock::time_point until) {
    const auto left = std::chrono::ceil<milliseconds>(until - steady_clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace

status_t connection::call(uint64_t target, std::atomic<uint64_t>& times_named, uint32_t code,
                          const Parcel& data, Parcel* reply, uint32_t flags) {
    if (io_loop::is_cut_off()) {
        return android::DEAD_OBJECT;
    }
    outgoing_parcel parcel(data, *this, objects_);
    if (parcel.status() != android::NO_ERROR) {
        return parcel.status();
    }
    ++times_named;
    const bool oneway = (flags & android::IBinder::FLAG_ONEWAY) != 0;
    call_message call = {oneway ? kOnewayCall : kCall, code, 0, target, flags, 0, parcel.header()};
    const status_t status = oneway ? call_oneway(call, parcel) : call_and_wait(call, parcel, reply);
    if (!parcel.is_sent()) {
        --times_named;
    }
    return status;
}

status_t connection::call_oneway(const call_message& call, outgoing_parcel& parcel) {
    const uint64_t cost =
        message_cost(sizeof call + parcel.table_part().iov_len + parcel.data_part().iov_len,
                     parcel.descriptor_count());
    if (oneway_cost_.fetch_add(cost) + cost > kMaxOnewayCost) {
        oneway_cost_ -= cost;
        complain(other_->lines, complaint::calls_refused,
                 "calls to process %d are refused: too many wait there already",
                 other_->identity.pid);
        return android::FAILED_TRANSACTION;
    }
    const iovec parts[] = {
        {const_cast<call_message*>(&call), sizeof call}, parcel.table_part(), parcel.data_part()};
    if (!tell(control_.send(parts, std::size(parts), parcel.descriptors(),
                            parcel.descriptor_count()))) {
        oneway_cost_ -= cost;
        return android::DEAD_OBJECT;
    }
    parcel.sent();
    return android::NO_ERROR;
}

// Sees to it that what waits is sent. False where the connection has ended.
bool connection::tell(control_socket::result result) {
    if (result == control_socket::result::waits) {
        io_loop::get()->set_events(*this, EPOLLIN | EPOLLRDHUP | EPOLLOUT);
    }
    return result != control_socket::result::ended;
}

status_t connection::call_and_wait(call_message& call, outgoing_parcel& parcel, Parcel* reply) {
    const int timeout_ms = patience_ms(*other_);
    const auto until = steady_clock::now() + milliseconds(timeout_ms);
    call_channel* channel = nullptr;
    status_t status = channels_.take(control_, timeout_ms > 0 ? &until : nullptr, &channel);
    if (status != android::NO_ERROR) {
        return status == android::TIMED_OUT ? note_silence(call.code, timeout_ms) : status;
    }
    call.number = channel->last_call + 1;
    // There is room, unless earlier calls of this channel have not even been received.
    const int error = parcel.send(channel->socket.get(), &call, sizeof call, MSG_DONTWAIT);
    reply_state state = reply_state::answered;
    if (error == 0) {
        parcel.sent();
        channel->last_call = call.number;
        state = wait_for_reply(*channel, reply, timeout_ms, until, &status);
    } else if (error == EAGAIN) {
        state = reply_state::none;
    } else if (error == EPIPE || error == ECONNRESET) {
        state = reply_state::ended;
    } else {
        complain(other_->lines, complaint::parcel_refused, "a parcel cannot be sent: %s",
                 strerror(error));
        status = android::FAILED_TRANSACTION;
    }
    channels_.put(channel, state == reply_state::ended || state == reply_state::refused);
    switch (state) {
        case reply_state::none:
            return note_silence(call.code, timeout_ms);
        case reply_state::ended:
        case reply_state::refused:
            return note_end(state == reply_state::refused);
        default:
            if (other_->is_silent.load(std::memory_order_relaxed) && error == 0) {
                other_->is_silent = false;
            }
            return status;
    }
}

connection::reply_state connection::wait_for_reply(call_channel& channel, Parcel* reply,
                                                   int timeout_ms, steady_clock::time_point until,
                                                   status_t* status) {
    int wait_ms = timeout_ms;
    for (;;) {
        if (channel.timeout_ms != wait_ms) {
            channel.timeout_ms = wait_ms;
            set_receive_timeout(channel.socket.get(), wait_ms);
        }
        const reply_state state = receive_reply(channel, 0, reply, status);
        if (state != reply_state::late && state != reply_state::interrupted) {
            return state;
        }
        if (timeout_ms > 0) {
            wait_ms = left_ms(until);
            if (wait_ms == 0) {
                return reply_state::none;
            }
        }
    }
}

// Receives one message. What answers an earlier call than the last is dropped.
connection::reply_state connection::receive_reply(call_channel& channel, int flags, Parcel* reply,
                                                  status_t* status) {
    received_message message;
    receive_message(channel.socket.get(), channel.room.get(), kMaxMessageBytes, flags, &message);
    if (message.bytes < 0 && errno == EAGAIN) {
        return reply_state::none;
    }
    // What was said before a reset is still to be received.
    if (message.bytes < 0 && (errno == EINTR || errno == ECONNRESET)) {
        return reply_state::interrupted;
    }
    reply_message fixed = {};
    const auto size = static_cast<size_t>(message.bytes > 0 ? message.bytes : 0);
    if (message_type_of(channel.room.get(), size) == kRefused) {
        return reply_state::refused;
    }
    if (size == 0) {
        return reply_state::ended;
    }
    if (!decode_fixed(channel.room.get(), size, &fixed, sizeof fixed) || fixed.type != kReply ||
        fixed.status > 0 || fixed.number <= channel.last_reply ||
        fixed.number > channel.last_call) {
        end_for("a reply of it is malformed");
        close_later(std::move(message.descriptors));
        return reply_state::ended;
    }
    channel.last_reply = fixed.number;
    const bool is_wanted = reply != nullptr && fixed.number == channel.last_call;
    std::unique_ptr<Parcel> unwanted;
    if (!is_wanted) {
        unwanted = std::make_unique<Parcel>();
    }
    *status = fixed.status;
    if (fixed.status == android::NO_ERROR) {
        *status = take_parcel(shared_from_this(), objects_, fixed.parcel,
                              channel.room.get() + sizeof fixed, size - sizeof fixed, message,
                              is_wanted ? reply : unwanted.get());
        if (*status != android::NO_ERROR) {
            note_refusal(*other_, "reply", *status);
        }
    }
    if (unwanted != nullptr && unwanted->objectsCount() > 0) {
        release_later(std::move(unwanted));
    }
    if (!message.descriptors.empty()) {
        close_later(std::move(message.descriptors));
    }
    return fixed.number == channel.last_call ? reply_state::answered : reply_state::late;
}

status_t connection::note_silence(uint32_t code, int waited_ms) {
    other_->is_silent = true;
    complain(other_->lines, complaint::no_answer,
             "process %d has not answered call %u of an object within %d ms; set "
             "CORVEX_BINDER_CALL_TIMEOUT_MS to wait longer (0: for ever)",
             other_->identity.pid, code, waited_ms);
    return android::TIMED_OUT;
}

// A channel has ended: with the process, or because that serves no more of them.
status_t connection::note_end(bool is_refused) {
    if (!is_refused && (!control_.is_open() || control_.other_end_goes(kNoticeMs))) {
        return android::DEAD_OBJECT;
    }
    complain(other_->lines, complaint::channel_refused,
             "process %d refuses a call: it has no thread or descriptor left for it",
             other_->identity.pid);
    return android::FAILED_TRANSACTION;
}

// Answers that come too late are dropped although nobody calls any more: they may hold objects.
void connection::on_tick() {
    std::vector<call_channel*> owing;
    while (call_channel* channel = channels_.take_owing()) {
        owing.push_back(channel);
    }
    for (call_channel* channel : owing) {
        reply_state state = reply_state::late;
        status_t ignored = android::NO_ERROR;
        while (state == reply_state::late || state == reply_state::interrupted) {
            state = receive_reply(*channel, MSG_DONTWAIT, nullptr, &ignored);
        }
        channels_.put(channel, state == reply_state::ended || state == reply_state::refused);
    }
    channels_.close_idle();
}

}  // namespace corvex_binder
