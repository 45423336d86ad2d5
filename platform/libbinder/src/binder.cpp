// Objects of this process, and of others.

#include <algorithm>

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include "carried_parcel.h"
#include "connection.h"
#include "executor.h"
#include "proxy.h"

namespace android {

using corvex_binder::executor;
using corvex_binder::guard_lock;

namespace {

const String16& no_descriptor() {
    static const auto* none = new String16();
    return *none;
}

}  // namespace

sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) {
    return nullptr;
}

const String16& BBinder::getInterfaceDescriptor() const {
    return no_descriptor();
}

// The same limit in one process as between two, so that nothing depends on where an object lives.
status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    Parcel unread;
    Parcel* answer = reply != nullptr ? reply : &unread;
    if (!corvex_binder::may_travel(data)) {
        answer->freeData();
        answer->setError(FAILED_TRANSACTION);
        return FAILED_TRANSACTION;
    }
    data.setDataPosition(0);
    status_t status = NO_ERROR;
    if (code == PING_TRANSACTION) {
        status = answer->writeInt32(pingBinder());
    } else {
        status = onTransact(code, data, answer, flags);
    }
    if (status == NO_ERROR && !corvex_binder::may_travel(*answer)) {
        status = FAILED_TRANSACTION;
        answer->freeData();
        answer->setError(status);
    }
    answer->setDataPosition(0);
    return status;
}

status_t BBinder::onTransact(uint32_t /*code*/, const Parcel& /*data*/, Parcel* /*reply*/,
                             uint32_t /*flags*/) {
    return UNKNOWN_TRANSACTION;
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                              uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
}

BpBinder::~BpBinder() {
    from->release_proxy(this);
}

const String16& BpBinder::getInterfaceDescriptor() const {
    return no_descriptor();
}

status_t BpBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    status_t status = DEAD_OBJECT;
    if (is_alive_) {
        status = from->call(object, named, code, data, reply, flags);
    }
    if (reply != nullptr && status != NO_ERROR) {
        reply->freeData();
        reply->setError(status);
    }
    return status;
}

status_t BpBinder::pingBinder() {
    Parcel data;
    Parcel reply;
    const status_t status = transact(PING_TRANSACTION, data, &reply);
    int32_t answer = NO_ERROR;
    if (status == NO_ERROR && reply.readInt32(&answer) != NO_ERROR) {
        return NOT_ENOUGH_DATA;
    }
    return status == NO_ERROR ? answer : status;
}

status_t BpBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) {
    if (recipient == nullptr) {
        return BAD_VALUE;
    }
    const guard_lock lock(mutex_);
    if (!is_alive_) {
        return DEAD_OBJECT;
    }
    links_.push_back({recipient, cookie, flags});
    return NO_ERROR;
}

status_t BpBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                                 wp<DeathRecipient>* outRecipient) {
    const guard_lock lock(mutex_);
    if (!is_alive_) {
        return DEAD_OBJECT;
    }
    auto& all = links_;
    const auto found = std::find_if(all.begin(), all.end(), [&](const death_link& one) {
        const bool matches =
            recipient != nullptr ? one.recipient == recipient : one.cookie == cookie;
        return matches && one.flags == flags;
    });
    if (found == all.end()) {
        return NAME_NOT_FOUND;
    }
    if (outRecipient != nullptr) {
        *outRecipient = found->recipient;
    }
    all.erase(found);
    return NO_ERROR;
}

void BpBinder::notify_death(sp<BpBinder>&& proxy) {
    std::vector<death_link> links;
    {
        const guard_lock lock(proxy->mutex_);
        proxy->is_alive_ = false;
        links.swap(proxy->links_);
    }
    // This thread may hold the last reference, and must not run what hangs on it.
    const void* queue = proxy.get();
    auto tell = [held = std::move(proxy), told = std::move(links)] {
        for (const death_link& one : told) {
            const auto recipient = one.recipient.promote();
            if (recipient != nullptr) {
                recipient->binderDied(wp<IBinder>(held.get()));
            }
        }
    };
    executor::get().post(queue, nullptr, corvex_binder::make_job(std::move(tell)));
}

}  // namespace android
