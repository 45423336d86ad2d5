// Another process: who it is, what it may take of this one, and whether it answers. All connections
// with it share one record, so that more connections do not give it more.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <sys/socket.h>

#include "log.h"

namespace android::corvex_binder {

enum class resource : uint8_t {
    connections,      // that it has made to us
    serving_threads,  // one for each of its channels
    descriptors,      // in calls that are being served, or wait for that
    oneway_bytes,     // of one-way calls that are being served, or wait for that
    kCount,
};

// Some of a resource, given back with the last copy.
using share = std::shared_ptr<void>;

class peer : public std::enable_shared_from_this<peer> {
  public:
    // The record of this process; a new one where there is none.
    static std::shared_ptr<peer> of(const ucred& identity);
    // Forgets processes that have gone, and says what has not been said about them. About once a
    // second, on the loop's thread.
    static void forget_gone();

    explicit peer(const ucred& who) : identity(who) {}

    const ucred identity;
    complaints lines;
    // A call to it has timed out, and none has been answered in time since.
    std::atomic<bool> is_silent{false};

    // Takes so much of a resource; null where it would be more than one process may have, or all
    // of them together.
    share take(resource what, uint64_t amount);

    // Both are the executor's, under its lock.
    size_t running_jobs = 0;
    std::deque<const void*> parked_queues;

  private:
    uint64_t taken_[static_cast<size_t>(resource::kCount)] = {};  // under the records' lock
};

// What the environment says, read at each use: how long a call waits for its reply (0 is for ever),
// and how long getService() waits for a service to come.
int call_timeout_ms();
int service_wait_ms();

// How long a call to this process may take: the setting, and at most 100 ms while it is silent.
int patience_ms(const peer& other);

}  // namespace android::corvex_binder
