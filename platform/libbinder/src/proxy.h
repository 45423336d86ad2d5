// What is behind a BpBinder.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <binder/BpBinder.h>

#include "attached_objects.h"

namespace corvex_binder {

class connection;

// A link to death.
struct obituary {
    android::wp<android::IBinder::DeathRecipient> recipient;
    void* cookie;
    uint32_t flags;
};

// Another process to which we have passed the object on.
struct forwarding {
    std::weak_ptr<connection> to;
    uint64_t object;  // as we call it there
};

struct proxy_state {
    proxy_state(std::shared_ptr<connection> by, uint64_t as) : from(std::move(by)), object(as) {}

    const std::shared_ptr<connection> from;
    const uint64_t object;  // as the other process calls it
    uint64_t received = 0;  // how often; the connection's lock
    std::atomic<bool> alive{true};

    std::mutex mutex;
    std::vector<obituary> obituaries;
    std::vector<forwarding> forwardings;
    android::String16 descriptor;
    bool has_descriptor = false;

    attached_objects attached;
};

struct proxy_access {
    static android::sp<android::BpBinder> make(std::shared_ptr<connection> from, uint64_t object);
    static proxy_state& state(const android::BpBinder& proxy) { return *proxy.mState; }
};

// Remembers, or forgets, that an object is passed on, so that its end is. False where that has
// come already.
bool add_forwarding(const android::BpBinder& proxy, const std::shared_ptr<connection>& to,
                    uint64_t object);
void remove_forwarding(const android::BpBinder& proxy, const connection* to, uint64_t object);

// The object is gone: passes that on, and tells the recipients on a thread of the pool, which then
// lets go of the proxy. Without any lock held.
void bury(android::sp<android::BpBinder>&& proxy);

}  // namespace corvex_binder
