// Objects of other processes, and their end.

#include <algorithm>

#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include "connection.h"
#include "executor.h"
#include "proxy.h"

namespace corvex_binder {

android::sp<android::BpBinder> proxy_access::make(std::shared_ptr<connection> from,
                                                  uint64_t object) {
    return new android::BpBinder(std::make_unique<proxy_state>(std::move(from), object));
}

void notify_death(android::sp<android::BpBinder>&& proxy) {
    proxy_state& state = proxy_access::state(*proxy);
    std::vector<death_link> links;
    {
        const guard_lock lock(state.mutex);
        state.is_alive = false;
        links.swap(state.links);
    }
    // This thread may hold the last reference, and must not run what people have attached.
    const void* queue = proxy.get();
    executor::get().post(
        queue, nullptr, make_job([held = std::move(proxy), told = std::move(links)] {
            for (const death_link& one : told) {
                const auto recipient = one.recipient.promote();
                if (recipient != nullptr) {
                    recipient->binderDied(android::wp<android::IBinder>(held.get()));
                }
            }
        }));
}

}  // namespace corvex_binder

namespace android {

BpBinder::BpBinder(std::unique_ptr<corvex_binder::proxy_state> state) : mState(std::move(state)) {}

BpBinder::~BpBinder() {
    mState->from->release_proxy(this);
}

BpBinder* BpBinder::remoteBinder() {
    return this;
}

bool BpBinder::isBinderAlive() const {
    return mState->is_alive;
}

status_t BpBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    status_t status = DEAD_OBJECT;
    if (mState->is_alive) {
        status = mState->from->call(mState->object, mState->named, code, data, reply, flags);
    }
    if (reply != nullptr && status != NO_ERROR) {
        reply->freeData();
        reply->setError(status);
    }
    return status;
}

const String16& BpBinder::getInterfaceDescriptor() const {
    static const auto* unknown = new String16();
    return *unknown;
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
    const corvex_binder::guard_lock lock(mState->mutex);
    if (!mState->is_alive) {
        return DEAD_OBJECT;
    }
    mState->links.push_back({recipient, cookie, flags});
    return NO_ERROR;
}

status_t BpBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                                 wp<DeathRecipient>* outRecipient) {
    const corvex_binder::guard_lock lock(mState->mutex);
    if (!mState->is_alive) {
        return DEAD_OBJECT;
    }
    auto& all = mState->links;
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const corvex_binder::death_link& one) {
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

}  // namespace android
