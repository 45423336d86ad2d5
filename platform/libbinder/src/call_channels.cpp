#include "call_channels.h"

#include <algorithm>
#include <new>
#include <sys/socket.h>

#include "control_socket.h"

namespace android::corvex_binder {

namespace {

constexpr int kIdleTicks = 5;

}  // namespace

status_t call_channels::take(control_socket& control, const deadline* until, call_channel** taken) {
    const Mutex::Autolock lock(mutex_);
    bool has_time = true;
    while (!has_ended_) {
        *taken = find_free();
        if (*taken != nullptr) {
            return NO_ERROR;
        }
        if (all_.size() < kMostChannels) {
            return make(control, taken);
        }
        if (!has_time) {
            return TIMED_OUT;
        }
        if (until == nullptr) {
            changed_.wait(mutex_);
        } else {
            has_time = changed_.wait_until(mutex_, *until) == std::cv_status::no_timeout;
        }
    }
    return DEAD_OBJECT;
}

// The last used that owes nothing; when there can be no more, else the one that has owed for
// longest: its answer may have come.
call_channel* call_channels::find_free() {
    call_channel* found = nullptr;
    for (const auto& one : all_) {
        const bool is_last_resort = found == nullptr && all_.size() >= kMostChannels;
        if (!one->is_taken && (!one->is_owing() || is_last_resort)) {
            found = one.get();
        }
    }
    if (found != nullptr) {
        found->is_taken = true;
    }
    return found;
}

status_t call_channels::make(control_socket& control, call_channel** made) {
    auto channel = std::make_unique<call_channel>();
    unique_fd theirs;
    channel->room.reset(new (std::nothrow) uint8_t[kMaxMessageBytes]);
    if (channel->room == nullptr || !make_socket_pair(&channel->socket, &theirs)) {
        return FAILED_TRANSACTION;
    }
    const plain_message fixed = {kChannel, 0};
    const int descriptor = theirs.get();
    outgoing_message message(fixed);
    message.descriptors = &descriptor;
    message.descriptor_count = 1;
    if (!control.send(message)) {
        return DEAD_OBJECT;
    }
    *made = channel.get();
    all_.push_back(std::move(channel));
    return NO_ERROR;
}

void call_channels::put(call_channel* channel, bool is_broken) {
    const Mutex::Autolock lock(mutex_);
    const auto found = std::find_if(all_.begin(), all_.end(),
                                    [channel](const auto& one) { return one.get() == channel; });
    if (is_broken || has_ended_) {
        all_.erase(found);
    } else {
        channel->is_taken = false;
        channel->idle_ticks = 0;
        std::rotate(found, std::next(found), all_.end());
    }
    changed_.notify_one();
}

void call_channels::end() {
    const Mutex::Autolock lock(mutex_);
    has_ended_ = true;
    for (const auto& channel : all_) {
        shutdown(channel->socket.get(), SHUT_RDWR);
    }
    const auto is_free = [](const auto& channel) { return !channel->is_taken; };
    all_.erase(std::remove_if(all_.begin(), all_.end(), is_free), all_.end());
    changed_.notify_all();
}

void call_channels::close_idle() {
    const Mutex::Autolock lock(mutex_);
    size_t left = all_.size();
    const auto is_surplus = [&left](const auto& channel) {
        const bool is_idle = !channel->is_taken && !channel->is_owing() && left > 1 &&
                             ++channel->idle_ticks > kIdleTicks;
        left -= is_idle ? 1 : 0;
        return is_idle;
    };
    all_.erase(std::remove_if(all_.begin(), all_.end(), is_surplus), all_.end());
}

std::vector<call_channel*> call_channels::take_owing() {
    const Mutex::Autolock lock(mutex_);
    std::vector<call_channel*> owing;
    for (const auto& channel : all_) {
        if (!channel->is_taken && channel->is_owing()) {
            channel->is_taken = true;
            owing.push_back(channel.get());
        }
    }
    return owing;
}

}  // namespace android::corvex_binder
