// Another process: who it is, what it may take of this one, and whether it answers. All connections
// with it share one record, so that more connections do not give it more.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <sys/types.h>

#include "log.h"

namespace corvex_binder {

struct peer_identity {
    pid_t pid = -1;
    uid_t uid = 0;
};

enum class resource : uint8_t {
    connections,      // that it has made to us
    serving_threads,  // one for each of its channels
    descriptors,      // in calls that are being served, or wait for that
    oneway_bytes,     // of one-way calls that are being served, or wait for that
    kCount,
};

class peer {
  public:
    // The record of this process; a new one where there is none.
    static std::shared_ptr<peer> of(const peer_identity& identity);

    explicit peer(const peer_identity& who) : identity(who) {}

    const peer_identity identity;
    complaints lines{};
    // A call to it has timed out, and none has been answered in time since.
    std::atomic<bool> is_silent{false};

    // Takes so much of a resource, or nothing where it would be more than one process may have, or
    // all of them together.
    bool take(resource what, uint64_t amount);
    void give_back(resource what, uint64_t amount);

    // Both are the executor's, under its lock.
    size_t running_jobs = 0;
    std::deque<const void*> parked_queues;

  private:
    std::array<std::atomic<uint64_t>, static_cast<size_t>(resource::kCount)> taken_{};
};

// What the environment says, read at each use: how long a call waits for its reply (0 is for ever),
// and how long getService() waits for a service to come.
int call_timeout_ms();
int service_wait_ms();

// How long a call to this process may take: the setting, and at most 100 ms while it is silent.
int patience_ms(const peer& other);

}  // namespace corvex_binder
