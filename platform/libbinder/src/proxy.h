// What is behind a BpBinder.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <binder/BpBinder.h>

#include "guarded.h"

namespace corvex_binder {

class connection;

struct death_link {
    android::wp<android::IBinder::DeathRecipient> recipient;
    void* cookie;
    uint32_t flags;
};

struct proxy_state {
    proxy_state(std::shared_ptr<connection> by, uint64_t as) : from(std::move(by)), object(as) {}

    const std::shared_ptr<connection> from;
    const uint64_t object;  // as the other process calls it
    uint64_t received = 0;  // how often; the connection's table has the lock
    // How often a message to the other process has named it, as a target or among the objects.
    std::atomic<uint64_t> named{0};
    std::atomic<bool> is_alive{true};

    guard_mutex mutex;
    std::vector<death_link> links BINDER_GUARDED_BY(mutex);
    // What has been made of the object, as long as there is a proxy of it; memory_base.cpp.
    android::sp<android::RefBase> attached BINDER_GUARDED_BY(mutex);
};

struct proxy_access {
    static android::sp<android::BpBinder> make(std::shared_ptr<connection> from, uint64_t object);
    static proxy_state& state(const android::BpBinder& proxy) { return *proxy.mState; }
};

// The object's process is gone: has the recipients told on the executor's threads, which then drop
// the reference. Without any lock held.
void notify_death(android::sp<android::BpBinder>&& proxy);

}  // namespace corvex_binder
