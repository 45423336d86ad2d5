// Objects of this process, and of others.

#include <algorithm>

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include "carried_parcel.h"
#include "connection.h"
#include "executor.h"
#include "proxy.h"

namespace android {

const String16& IBinder::getInterfaceDescriptor() const {
    static const auto* none = new String16();
    return *none;
}

sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) {
    return nullptr;
}

status_t IBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                              uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t IBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
}

// The same limit in one process as between two, so that nothing depends on where an object lives.
status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    Parcel unread;
    Parcel* answer = reply != nullptr ? reply : &unread;
    status_t status = NO_ERROR;
    bool travels = corvex_binder::may_travel(data);
    if (travels) {
        data.setDataPosition(0);
        status = code == PING_TRANSACTION ? answer->writeInt32(pingBinder())
                                          : onTransact(code, data, answer, flags);
        travels = status != NO_ERROR || corvex_binder::may_travel(*answer);
    }
    if (!travels) {
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

BpBinder::~BpBinder() {
    from->release_proxy(this);
}

status_t BpBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    const status_t status =
        is_alive_ ? from->call(*this, code, data, reply, flags) : status_t{DEAD_OBJECT};
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
    int32_t answer = NOT_ENOUGH_DATA;
    reply.readInt32(&answer);
    return status == NO_ERROR ? answer : status;
}

status_t BpBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) {
    if (recipient == nullptr) {
        return BAD_VALUE;
    }
    const Mutex::Autolock lock(mutex_);
    if (!is_alive_) {
        return DEAD_OBJECT;
    }
    links_.push_back({recipient, cookie, flags});
    return NO_ERROR;
}

status_t BpBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                                 wp<DeathRecipient>* outRecipient) {
    const Mutex::Autolock lock(mutex_);
    if (!is_alive_) {
        return DEAD_OBJECT;
    }
    const auto found = std::find_if(links_.begin(), links_.end(), [&](const death_link& one) {
        const bool matches =
            recipient != nullptr ? one.recipient == recipient : one.cookie == cookie;
        return matches && one.flags == flags;
    });
    if (found == links_.end()) {
        return NAME_NOT_FOUND;
    }
    if (outRecipient != nullptr) {
        *outRecipient = found->recipient;
    }
    links_.erase(found);
    return NO_ERROR;
}

void BpBinder::notify_death(sp<BpBinder>&& proxy) {
    std::vector<death_link> links;
    {
        const Mutex::Autolock lock(proxy->mutex_);
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
    corvex_binder::executor::get().post(queue, nullptr, std::move(tell));
}

}  // namespace android
