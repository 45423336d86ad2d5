// The sockets over which a connection's calls go. A call that nobody has answered in time leaves
// its channel owing the answer. Others are used first; while all owe, they are used again.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <vector>

#include <utils/Mutex.h>

#include "message.h"

namespace android::corvex_binder {

class control_socket;

struct call_channel {
    unique_fd socket;
    uint64_t last_call = 0;
    uint64_t last_reply = 0;          // to that call, or to an earlier one
    int timeout_ms = 0;               // as the socket has it
    std::unique_ptr<uint8_t[]> room;  // for the largest reply

    bool is_taken = true;  // these two are under the lock of call_channels
    int idle_ticks = 0;

    bool is_owing() const { return last_reply < last_call; }
};

class call_channels {
  public:
    // Calls that run at once; more wait for one of them.
    static constexpr size_t kMostChannels = 32;

    using deadline = std::chrono::steady_clock::time_point;

    // Waits for a free channel; without an end where `until` is null. TIMED_OUT, DEAD_OBJECT, or
    // FAILED_TRANSACTION where this process has no room for one more.
    status_t take(control_socket& control, const deadline* until, call_channel** taken);
    // Gives it back; what is broken is not used again.
    void put(call_channel* channel, bool is_broken);

    // Wakes all who wait for an answer or for a channel.
    void end();

    // Closes what has been free for some seconds, except one. About once a second.
    void close_idle();
    // Takes all free channels that owe an answer, to see whether that has come.
    std::vector<call_channel*> take_owing();

  private:
    call_channel* find_free() REQUIRES(mutex_);
    status_t make(control_socket& control, call_channel** made) REQUIRES(mutex_);

    Mutex mutex_;
    std::condition_variable_any changed_;
    bool has_ended_ GUARDED_BY(mutex_) = false;
    std::vector<std::unique_ptr<call_channel>> all_ GUARDED_BY(mutex_);  // the last used at the end
};

}  // namespace android::corvex_binder
