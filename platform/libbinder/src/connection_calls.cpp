// A connection's calls in both directions, as far as they are sent.

#include <chrono>
#include <optional>
#include <utility>

#include "connection.h"
#include "log.h"
#include "thread_pool.h"

namespace corvex_binder {

namespace {

// What may be on its way to a process that is busy, or stopped, before calls are refused.
constexpr uint64_t kMaxCallCost = uint64_t{8} << 20;

}  // namespace

android::status_t connection::call(uint64_t target, uint32_t code, const android::Parcel& data,
                                   android::Parcel* reply, uint32_t flags, int timeout_ms) {
    outgoing_parcel parcel(data);
    const android::status_t prepared = parcel.prepare();
    if (prepared != android::NO_ERROR) {
        return prepared;
    }
    const bool oneway = (flags & android::IBinder::FLAG_ONEWAY) != 0;
    pending_call pending;
    {
        // A thread of the pool gives way to calls that come back before the reply.
        std::optional<thread_pool::waiting> waiting;
        if (!oneway) {
            waiting.emplace();
        }
        std::unique_lock<std::mutex> lock(mutex_);
        if (!is_open()) {
            return android::DEAD_OBJECT;
        }
        if (unsent_cost_ > kMaxCallCost ||
            (oneway && oneway_cost_ + parcel.cost() > kMaxOnewayCost)) {
            if (!std::exchange(is_full_, true)) {
                BINDER_LOG(ERROR, "calls to process %d are refused: too many wait there already",
                           peer_.pid);
            }
            return android::FAILED_TRANSACTION;
        }
        is_full_ = false;
        const call_payload fixed = {oneway ? 0 : ++last_call_, target, code, flags};
        if (oneway) {
            oneway_cost_ += enqueue_with(parcel, begin_frame(kCallFrame, &fixed, sizeof fixed));
            return is_open() ? android::NO_ERROR : android::DEAD_OBJECT;
        }
        pending_[fixed.call] = &pending;
        enqueue_with(parcel, begin_frame(kCallFrame, &fixed, sizeof fixed));
        wait_for_reply(lock, fixed.call, pending, timeout_ms);
        close_if_idle();
    }
    if (!pending.done && target != kRegistry) {
        BINDER_LOG(ERROR,
                   "process %d has not answered call %u of an object within %d ms; set "
                   "CORVEX_BINDER_CALL_TIMEOUT_MS to wait longer (0: for ever)",
                   peer_.pid, code, timeout_ms);
    }
    if (pending.reply != nullptr && reply != nullptr) {
        parcel_access::move(*pending.reply, *reply);
    }
    return pending.status;
}

// Without a reply in time the status is TIMED_OUT; one that comes later is dropped.
void connection::wait_for_reply(std::unique_lock<std::mutex>& lock, uint64_t id,
                                pending_call& pending, int timeout_ms) {
    const auto answered = [&pending] { return pending.done; };
    if (timeout_ms == 0) {
        pending.done_or_dead.wait(lock, answered);
    } else {
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        if (!pending.done_or_dead.wait_until(lock, deadline, answered)) {
            pending.status = android::TIMED_OUT;
            pending_.erase(id);
        }
    }
}

void connection::send_reply(uint64_t call, uint64_t cost, android::status_t status,
                            const android::Parcel& reply) {
    outgoing_parcel parcel(reply);
    // As on a device, what is no error is no status either.
    status = status < 0 ? status : parcel.prepare();
    const reply_payload fixed = {call, status, 0};
    outgoing_frame frame = begin_frame(kReplyFrame, &fixed, sizeof fixed);
    const std::lock_guard<std::mutex> lock(mutex_);
    incoming_cost_ -= cost;
    --incoming_calls_;
    if (status == android::NO_ERROR) {
        enqueue_with(parcel, std::move(frame));
    } else {
        enqueue(std::move(frame));
    }
    close_if_idle();
}

void connection::send_oneway_done(uint64_t cost) {
    const oneway_done_payload done = {cost};
    const std::lock_guard<std::mutex> lock(mutex_);
    incoming_cost_ -= cost;
    incoming_oneway_cost_ -= cost;
    --incoming_calls_;
    enqueue(begin_frame(kOnewayDoneFrame, &done, sizeof done));
    close_if_idle();
}

}  // namespace corvex_binder
