// Objects of other processes, and their end.

#include <algorithm>

#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include "connection.h"
#include "proxy.h"
#include "settings.h"
#include "thread_pool.h"

namespace corvex_binder {

android::sp<android::BpBinder> proxy_access::make(std::shared_ptr<connection> from,
                                                  uint64_t object) {
    return new android::BpBinder(std::make_unique<proxy_state>(std::move(from), object));
}

bool add_forwarding(const android::BpBinder& proxy, const std::shared_ptr<connection>& to,
                    uint64_t object) {
    proxy_state& state = proxy_access::state(proxy);
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!state.alive) {
        return false;
    }
    state.forwardings.push_back({to, object});
    return true;
}

void remove_forwarding(const android::BpBinder& proxy, const connection* to, uint64_t object) {
    proxy_state& state = proxy_access::state(proxy);
    std::shared_ptr<connection> other;  // let go of without the lock
    const std::lock_guard<std::mutex> lock(state.mutex);
    auto& all = state.forwardings;
    const auto is_it = [&](const forwarding& one) {
        other = one.to.lock();
        return other == nullptr || (other.get() == to && one.object == object);
    };
    all.erase(std::remove_if(all.begin(), all.end(), is_it), all.end());
}

void bury(android::sp<android::BpBinder>&& proxy) {
    proxy_state& state = proxy_access::state(*proxy);
    std::vector<obituary> obituaries;
    std::vector<forwarding> forwardings;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        if (state.alive.exchange(false)) {
            obituaries.swap(state.obituaries);
            forwardings.swap(state.forwardings);
        }
    }
    for (const forwarding& one : forwardings) {
        if (const auto to = one.to.lock()) {
            to->send_object_died(one.object);
        }
    }
    // This thread may hold the last reference, and must not run what people have attached.
    thread_pool::get().post([held = std::move(proxy), told = std::move(obituaries)] {
        for (const obituary& one : told) {
            const android::sp<android::IBinder::DeathRecipient> recipient = one.recipient.promote();
            if (recipient != nullptr) {
                recipient->binderDied(android::wp<android::IBinder>(held.get()));
            }
        }
    });
    proxy = nullptr;
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
    return mState->alive;
}

status_t BpBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    status_t status = DEAD_OBJECT;
    if (mState->alive) {
        status = mState->from->call(mState->object, code, data, reply, flags,
                                    corvex_binder::call_timeout_ms());
    }
    if (reply != nullptr && status != NO_ERROR) {
        reply->freeData();
        reply->setError(status);
    }
    return status;
}

const String16& BpBinder::getInterfaceDescriptor() const {
    {
        const std::lock_guard<std::mutex> lock(mState->mutex);
        if (mState->has_descriptor) {
            return mState->descriptor;
        }
    }
    Parcel data;
    Parcel reply;
    String16 answer;
    const bool answered =
        const_cast<BpBinder*>(this)->transact(INTERFACE_TRANSACTION, data, &reply) == NO_ERROR &&
        reply.readString16(&answer) == NO_ERROR;
    const std::lock_guard<std::mutex> lock(mState->mutex);
    // Once it is there it stays: callers have a reference to it.
    if (answered && !mState->has_descriptor) {
        mState->descriptor = answer;
        mState->has_descriptor = true;
    }
    static const auto* none = new String16();
    return mState->has_descriptor ? mState->descriptor : *none;
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

status_t BpBinder::dump(int fd, const Vector<String16>& args) {
    Parcel data;
    data.writeFileDescriptor(fd);
    data.writeInt32(static_cast<int32_t>(args.size()));
    for (const String16& arg : args) {
        data.writeString16(arg);
    }
    Parcel reply;
    return transact(DUMP_TRANSACTION, data, &reply);
}

status_t BpBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) {
    if (recipient == nullptr) {
        return BAD_VALUE;
    }
    const std::lock_guard<std::mutex> lock(mState->mutex);
    if (!mState->alive) {
        return DEAD_OBJECT;
    }
    mState->obituaries.push_back({recipient, cookie, flags});
    return NO_ERROR;
}

status_t BpBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                                 wp<DeathRecipient>* outRecipient) {
    const std::lock_guard<std::mutex> lock(mState->mutex);
    if (!mState->alive) {
        return DEAD_OBJECT;
    }
    auto& all = mState->obituaries;
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const corvex_binder::obituary& one) {
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

void BpBinder::attachObject(const void* objectID, void* object, void* cleanupCookie,
                            object_cleanup_func func) {
    mState->attached.attach(objectID, object, cleanupCookie, func);
}

void* BpBinder::findObject(const void* objectID) const {
    return mState->attached.find(objectID);
}

void BpBinder::detachObject(const void* objectID) {
    mState->attached.detach(objectID);
}

}  // namespace android
