// What two processes have given each other over one connection.
//
// README.md, under "References", says why both sides count.
// Any thread. References are given back to the caller, who drops them without any lock.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include <binder/IBinder.h>
#include <utils/Mutex.h>

#include "message.h"
#include "proxy.h"

namespace android::corvex_binder {

class connection;

class object_table {
  public:
    // What either side may have received and not given back.
    static constexpr size_t kMostObjects = 16384;

    // The service that this side offers. Kept until the end.
    void offer_service(const sp<IBinder>& service);

    // Names an object that is about to be sent, `at` in the parcel's data. INVALID_OPERATION for an
    // object of a third process, FAILED_TRANSACTION when too many have been sent.
    status_t name(const connection& ours, const sp<IBinder>& object, uint32_t at,
                  wire_object* named);
    // What was named has not been sent after all; the caller still holds it. The other process may
    // have given it back meanwhile.
    void take_back(const wire_object& named);

    // An object of ours that a message names; null where we have not sent it.
    sp<IBinder> find(uint64_t object);
    // An object of the other process, received once more; null when there are too many.
    sp<BpBinder> receive(const std::shared_ptr<connection>& from, uint64_t object);
    // The other process's service; null once the table has ended.
    sp<BpBinder> service(const std::shared_ptr<connection>& from);

    // Serves a release. False where it is not ours to give; `released` is what nobody keeps now.
    bool release(const release_message& message, sp<IBinder>* released);
    // A proxy goes: what to tell the other process.
    release_message forget(const BpBinder* proxy);

    bool has_ended();
    // Ends the table if it holds nothing and the condition, which is asked under its lock, holds.
    bool end_if_empty(const std::function<bool()>& condition);
    // Ends the table; hands over all that it held.
    void end(std::vector<sp<BpBinder>>* proxies, std::vector<sp<IBinder>>* objects);

  private:
    struct sent_object {
        sp<IBinder> object;
        uint64_t times_sent = 0;   // and not given back
        uint64_t times_named = 0;  // to us, as releases have said
        uint64_t times_seen = 0;   // of those
    };
    using sent_objects = std::unordered_map<uint64_t, sent_object>;

    sp<IBinder> drop_if_done(sent_objects::iterator found) REQUIRES(mutex_);
    sp<BpBinder> proxy_of(const std::shared_ptr<connection>& from, uint64_t object)
        REQUIRES(mutex_);

    Mutex mutex_;
    bool has_ended_ GUARDED_BY(mutex_) = false;
    uint64_t last_name_ GUARDED_BY(mutex_) = kServiceObject;
    sent_objects sent_ GUARDED_BY(mutex_);
    std::unordered_map<IBinder*, uint64_t> names_ GUARDED_BY(mutex_);
    std::unordered_map<uint64_t, wp<BpBinder>> proxies_ GUARDED_BY(mutex_);
};

}  // namespace android::corvex_binder
