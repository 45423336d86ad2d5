// The sockets over which a connection's calls go: each carries one call at a time, of this process
// to the other one, and its reply. The caller sends and receives itself; nobody stands between.
//
// A call that nobody has answered in time leaves its channel owing the answer. Others are used
// first; while all owe, they are used again, and late answers are dropped as they come.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <vector>

#include <utils/Errors.h>

#include "guarded.h"
#include "unique_fd.h"

namespace corvex_binder {

class control_socket;

struct call_channel {
    unique_fd socket;
    uint64_t last_call = 0;
    uint64_t last_reply = 0;  // to that call, or to an earlier one
    int timeout_ms = 0;       // as the socket has it
    int idle_ticks = 0;
    std::unique_ptr<uint8_t[]> room;  // for the largest reply

    bool is_owing() const { return last_reply < last_call; }
};

class call_channels {
  public:
    // Calls that run at once; more wait for one of them.
    static constexpr size_t kMostChannels = 32;

    using deadline = std::chrono::steady_clock::time_point;

    // Waits for a free channel; without an end where `until` is null. TIMED_OUT, DEAD_OBJECT, or
    // FAILED_TRANSACTION where this process has no room for one more.
    android::status_t take(control_socket& control, const deadline* until, call_channel** taken);
    // Gives it back; what is broken is not used again.
    void put(call_channel* channel, bool is_broken);

    // Wakes all who wait for an answer or for a channel.
    void end();

    // Closes what has been free for some seconds, except one. About once a second.
    void close_idle();
    // A free channel that owes an answer, to see whether that has come; null where there is none.
    // Each once until it is put back.
    call_channel* take_owing();

  private:
    call_channel* find_free() BINDER_REQUIRES(mutex_);
    android::status_t make(control_socket& control, call_channel** made);
    void close(const call_channel* channel) BINDER_REQUIRES(mutex_);

    guard_mutex mutex_;
    std::condition_variable_any changed_;
    bool has_ended_ BINDER_GUARDED_BY(mutex_) = false;
    size_t waiting_ BINDER_GUARDED_BY(mutex_) = 0;
    size_t in_making_ BINDER_GUARDED_BY(mutex_) = 0;
    std::vector<std::unique_ptr<call_channel>> all_ BINDER_GUARDED_BY(mutex_);
    std::vector<call_channel*> free_ BINDER_GUARDED_BY(mutex_);  // the last used at the end
};

}  // namespace corvex_binder
