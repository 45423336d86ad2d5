// A connection's own calls. The caller's thread does all of it: it takes a channel, sends, and
// waits in the socket for the reply.

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sys/socket.h>

#include "carried_parcel.h"
#include "connection.h"
#include "executor.h"
#include "log.h"

namespace android::corvex_binder {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// A channel has ended: with the process, which is known soon, or because that serves no more of
// them.
constexpr int kNoticeMs = 100;

}  // namespace

status_t connection::call(BpBinder& target, uint32_t code, const Parcel& data, Parcel* reply,
                          uint32_t flags) {
    if (io_loop::is_cut_off()) {
        return DEAD_OBJECT;
    }
    outgoing_parcel parcel(data, *this, objects_);
    if (parcel.status() != NO_ERROR) {
        return parcel.status();
    }
    ++target.named;
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    call_message call = {
        oneway ? kOnewayCall : kCall, code, 0, target.object, flags, 0, parcel.header()};
    const status_t status = oneway ? call_oneway(call, parcel) : call_and_wait(call, parcel, reply);
    if (!parcel.is_sent) {
        --target.named;
    }
    return status;
}

status_t connection::call_oneway(const call_message& call, outgoing_parcel& parcel) {
    const outgoing_message message = parcel.behind(outgoing_message(call));
    const uint64_t cost = message_cost(message.size(), message.descriptor_count);
    if (oneway_cost_.fetch_add(cost) + cost > kMaxOnewayCost) {
        oneway_cost_ -= cost;
        complain(&other_->lines, "calls to process %d are refused: too many wait there already",
                 other_->identity.pid);
        return FAILED_TRANSACTION;
    }
    parcel.is_sent = control_.send(message);
    if (!parcel.is_sent) {
        oneway_cost_ -= cost;
        return DEAD_OBJECT;
    }
    return NO_ERROR;
}

status_t connection::call_and_wait(call_message& call, outgoing_parcel& parcel, Parcel* reply) {
    const int timeout_ms = patience_ms(*other_);
    const auto until = steady_clock::now() + milliseconds(timeout_ms);
    call_channel* channel = nullptr;
    status_t status = channels_.take(control_, timeout_ms > 0 ? &until : nullptr, &channel);
    if (status == TIMED_OUT) {
        return note_silence(call.code, timeout_ms);
    }
    if (status == FAILED_TRANSACTION) {
        BINDER_LOG(ERROR, "a call is refused: this process has no room for another channel");
    }
    if (status != NO_ERROR) {
        return status;
    }
    call.number = channel->last_call + 1;
    // There is room, unless earlier calls of this channel have not even been received.
    const int error =
        send_message(channel->socket.get(), parcel.behind(outgoing_message(call)), MSG_DONTWAIT);
    reply_state state = reply_state::answered;
    if (error == 0) {
        parcel.is_sent = true;
        channel->last_call = call.number;
        state = wait_for_reply(*channel, reply, timeout_ms, until, &status);
    } else if (error == EAGAIN) {
        state = reply_state::none;
    } else if (error == EPIPE || error == ECONNRESET) {
        state = reply_state::ended;
    } else {
        complain(&other_->lines, "a parcel cannot be sent: %s", strerror(error));
        status = FAILED_TRANSACTION;
    }
    channels_.put(channel, state == reply_state::ended || state == reply_state::refused);
    switch (state) {
        case reply_state::none:
            return note_silence(call.code, timeout_ms);
        case reply_state::ended:
            if (control_.ends_within(kNoticeMs)) {
                return DEAD_OBJECT;
            }
            [[fallthrough]];
        case reply_state::refused:
            complain(&other_->lines,
                     "process %d refuses a call: it has no thread or descriptor left for it",
                     other_->identity.pid);
            return FAILED_TRANSACTION;
        default:
            if (other_->is_silent.load(std::memory_order_relaxed) && error == 0) {
                other_->is_silent = false;
            }
            return status;
    }
}

connection::reply_state connection::wait_for_reply(call_channel& channel, Parcel* reply,
                                                   int timeout_ms, call_channels::deadline until,
                                                   status_t* status) {
    for (int wait_ms = timeout_ms;;) {
        if (channel.timeout_ms != wait_ms) {
            channel.timeout_ms = wait_ms;
            set_timeout(channel.socket.get(), SO_RCVTIMEO, wait_ms);
        }
        const reply_state state = receive_reply(channel, 0, reply, status);
        if (state != reply_state::again) {
            return state;
        }
        if (timeout_ms > 0) {
            const auto left = std::chrono::ceil<milliseconds>(until - steady_clock::now()).count();
            if (left <= 0) {
                return reply_state::none;
            }
            wait_ms = static_cast<int>(left);
        }
    }
}

// Receives one message. What answers an earlier call than the last is dropped.
connection::reply_state connection::receive_reply(call_channel& channel, int flags, Parcel* reply,
                                                  status_t* status) {
    received_message message =
        receive_message(channel.socket.get(), channel.room.get(), kMaxMessageBytes, flags);
    if (message.error == EAGAIN) {
        return reply_state::none;
    }
    // What was said before a reset is still to be received.
    if (message.error == EINTR || message.error == ECONNRESET) {
        return reply_state::again;
    }
    if (message.type() == kRefused) {
        return reply_state::refused;
    }
    if (message.size == 0) {
        return reply_state::ended;
    }
    reply_message fixed = {};
    if (!message.decode(&fixed) || fixed.type != kReply || fixed.status > 0 ||
        fixed.number <= channel.last_reply || fixed.number > channel.last_call) {
        end_for("a reply of it is malformed");
        close_later(std::move(message.descriptors));
        return reply_state::ended;
    }
    channel.last_reply = fixed.number;
    const bool is_last = fixed.number == channel.last_call;
    auto unwanted = is_last && reply != nullptr ? nullptr : std::make_shared<Parcel>();
    *status = fixed.status;
    if (fixed.status == NO_ERROR) {
        *status = take_parcel(shared_from_this(), objects_,
                              decode_parcel(fixed.parcel, message, sizeof fixed), message,
                              unwanted != nullptr ? unwanted.get() : reply);
        if (*status != NO_ERROR) {
            note_refusal(*other_, "reply", *status);
        }
    }
    if (unwanted != nullptr && unwanted->objectsCount() > 0) {
        executor::get().release_later(this, other_, std::move(unwanted));
    }
    if (!message.descriptors.empty()) {
        close_later(std::move(message.descriptors));
    }
    return is_last ? reply_state::answered : reply_state::again;
}

status_t connection::note_silence(uint32_t code, int waited_ms) {
    other_->is_silent = true;
    complain(&other_->lines,
             "process %d has not answered call %u of an object within %d ms; set "
             "CORVEX_BINDER_CALL_TIMEOUT_MS to wait longer (0: for ever)",
             other_->identity.pid, code, waited_ms);
    return TIMED_OUT;
}

// Answers that come too late are dropped although nobody calls any more: they may hold objects.
void connection::on_tick() {
    for (call_channel* channel : channels_.take_owing()) {
        reply_state state = reply_state::again;
        status_t ignored = NO_ERROR;
        while (state == reply_state::again) {
            state = receive_reply(*channel, MSG_DONTWAIT, nullptr, &ignored);
        }
        channels_.put(channel, state == reply_state::ended || state == reply_state::refused);
    }
    channels_.close_idle();
}

}  // namespace android::corvex_binder
