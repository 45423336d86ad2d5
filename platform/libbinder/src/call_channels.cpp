#include "call_channels.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sys/socket.h>

#include "control_socket.h"
#include "log.h"
#include "message.h"

namespace corvex_binder {

using android::status_t;

namespace {

constexpr int kIdleTicks = 5;

}  // namespace

status_t call_channels::take(control_socket& control, const deadline* until, call_channel** taken) {
    {
        const guard_lock lock(mutex_);
        for (;;) {
            if (has_ended_) {
                return android::DEAD_OBJECT;
            }
            *taken = find_free();
            if (*taken != nullptr) {
                return android::NO_ERROR;
            }
            if (all_.size() + in_making_ < kMostChannels) {
                ++in_making_;
                break;
            }
            ++waiting_;
            bool timed_out = false;
            if (until == nullptr) {
                changed_.wait(mutex_);
            } else {
                timed_out = changed_.wait_until(mutex_, *until) == std::cv_status::timeout;
            }
            --waiting_;
            if (timed_out && free_.empty() && !has_ended_) {
                return android::TIMED_OUT;
            }
        }
    }
    return make(control, taken);
}

// One that owes nothing, or any when there can be no more.
call_channel* call_channels::find_free() {
    const auto owes_nothing = [](const call_channel* one) { return !one->is_owing(); };
    auto found = std::find_if(free_.rbegin(), free_.rend(), owes_nothing);
    if (found == free_.rend()) {
        if (all_.size() + in_making_ < kMostChannels || free_.empty()) {
            return nullptr;
        }
        // The one that has owed for longest: its answer may have come.
        found = std::prev(free_.rend());
    }
    call_channel* channel = *found;
    free_.erase(std::next(found).base());
    return channel;
}

status_t call_channels::make(control_socket& control, call_channel** made) {
    auto channel = std::make_unique<call_channel>();
    unique_fd theirs;
    channel->room.reset(new (std::nothrow) uint8_t[kMaxMessageBytes]);
    status_t status = android::FAILED_TRANSACTION;
    if (channel->room == nullptr || !make_socket_pair(&channel->socket, &theirs)) {
        BINDER_LOG(ERROR, "a call is refused: this process has no room for another channel");
    } else {
        const plain_message message = {kChannel, 0};
        const int descriptor = theirs.get();
        const auto sent = control.send(message, &descriptor, 1);
        status = sent == control_socket::result::ended ? android::DEAD_OBJECT : android::NO_ERROR;
    }
    const guard_lock lock(mutex_);
    --in_making_;
    if (status == android::NO_ERROR && has_ended_) {
        status = android::DEAD_OBJECT;
    }
    if (status != android::NO_ERROR) {
        changed_.notify_one();
        return status;
    }
    *made = channel.get();
    all_.push_back(std::move(channel));
    return android::NO_ERROR;
}

void call_channels::put(call_channel* channel, bool is_broken) {
    const guard_lock lock(mutex_);
    if (is_broken || has_ended_) {
        const auto found = std::find_if(
            all_.begin(), all_.end(), [channel](const auto& one) { return one.get() == channel; });
        all_.erase(found);
    } else {
        channel->idle_ticks = 0;
        free_.push_back(channel);
    }
    if (waiting_ > 0) {
        changed_.notify_one();
    }
}

void call_channels::close(const call_channel* channel) {
    all_.erase(std::find_if(all_.begin(), all_.end(),
                            [channel](const auto& one) { return one.get() == channel; }));
}

void call_channels::end() {
    const guard_lock lock(mutex_);
    has_ended_ = true;
    for (const auto& channel : all_) {
        shutdown(channel->socket.get(), SHUT_RDWR);
    }
    for (const call_channel* channel : free_) {
        close(channel);
    }
    free_.clear();
    changed_.notify_all();
}

void call_channels::close_idle() {
    const guard_lock lock(mutex_);
    for (auto free = free_.begin(); free != free_.end();) {
        const call_channel* channel = *free;
        if (!channel->is_owing() && all_.size() > 1 && ++(*free)->idle_ticks > kIdleTicks) {
            close(channel);
            free = free_.erase(free);
        } else {
            ++free;
        }
    }
}

call_channel* call_channels::take_owing() {
    const guard_lock lock(mutex_);
    const auto found = std::find_if(free_.begin(), free_.end(),
                                    [](const call_channel* one) { return one->is_owing(); });
    if (found == free_.end()) {
        return nullptr;
    }
    call_channel* channel = *found;
    free_.erase(found);
    return channel;
}

}  // namespace corvex_binder
