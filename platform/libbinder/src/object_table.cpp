#include "object_table.h"

#include <utility>

namespace android::corvex_binder {

void object_table::offer_service(const sp<IBinder>& service) {
    const Mutex::Autolock lock(mutex_);
    sent_[kServiceObject] = {service, 1, 0, 0};
    names_[service.get()] = kServiceObject;
}

status_t object_table::name(const connection& ours, const sp<IBinder>& object, uint32_t at,
                            wire_object* named) {
    if (BpBinder* proxy = object->remoteBinder()) {
        if (proxy->from.get() != &ours) {
            return INVALID_OPERATION;
        }
        ++proxy->named;
        *named = {at, kReceiversObject, proxy->object};
        return NO_ERROR;
    }
    const Mutex::Autolock lock(mutex_);
    if (has_ended_) {
        return DEAD_OBJECT;
    }
    const auto known = names_.find(object.get());
    if (known == names_.end() && sent_.size() >= kMostObjects) {
        return FAILED_TRANSACTION;
    }
    const uint64_t number = known != names_.end() ? known->second : ++last_name_;
    names_[object.get()] = number;
    sent_object& sent = sent_[number];
    sent.object = object;
    ++sent.times_sent;
    *named = {at, kSendersObject, number};
    return NO_ERROR;
}

// The object once nothing can name it any more, else null.
sp<IBinder> object_table::drop_if_done(sent_objects::iterator found) {
    const sent_object& sent = found->second;
    if (sent.times_sent > 0 || sent.times_seen < sent.times_named) {
        return nullptr;
    }
    sp<IBinder> object = std::move(found->second.object);
    names_.erase(object.get());
    sent_.erase(found);
    return object;
}

void object_table::take_back(const wire_object& named) {
    const Mutex::Autolock lock(mutex_);
    if (named.kind == kReceiversObject) {
        const auto proxy = proxies_.find(named.object);
        if (proxy != proxies_.end()) {
            // The parcel holds it.
            --proxy->second.promote()->named;
        }
        return;
    }
    const auto found = named.kind == kSendersObject ? sent_.find(named.object) : sent_.end();
    if (found != sent_.end()) {
        --found->second.times_sent;
        drop_if_done(found);
    }
}

sp<IBinder> object_table::find(uint64_t object) {
    const Mutex::Autolock lock(mutex_);
    const auto found = sent_.find(object);
    if (found == sent_.end()) {
        return nullptr;
    }
    ++found->second.times_seen;
    sp<IBinder> last = drop_if_done(found);
    return last != nullptr ? last : found->second.object;
}

// The one proxy of this object.
sp<BpBinder> object_table::proxy_of(const std::shared_ptr<connection>& from, uint64_t object) {
    const auto [known, is_new] = proxies_.try_emplace(object);
    sp<BpBinder> proxy = is_new ? nullptr : known->second.promote();
    if (proxy == nullptr) {
        proxy = new BpBinder(from, object);
        known->second = proxy;
    }
    return proxy;
}

sp<BpBinder> object_table::receive(const std::shared_ptr<connection>& from, uint64_t object) {
    const Mutex::Autolock lock(mutex_);
    if (has_ended_ || proxies_.size() >= kMostObjects) {
        return nullptr;
    }
    sp<BpBinder> proxy = proxy_of(from, object);
    ++proxy->received;
    return proxy;
}

sp<BpBinder> object_table::service(const std::shared_ptr<connection>& from) {
    const Mutex::Autolock lock(mutex_);
    return has_ended_ ? nullptr : proxy_of(from, kServiceObject);
}

bool object_table::release(const release_message& message, sp<IBinder>* released) {
    const Mutex::Autolock lock(mutex_);
    const auto found = sent_.find(message.object);
    const uint64_t kept = message.object == kServiceObject ? 1 : 0;
    if (found == sent_.end() || message.received > found->second.times_sent - kept) {
        return false;
    }
    found->second.times_sent -= message.received;
    found->second.times_named += message.named;
    *released = drop_if_done(found);
    return true;
}

release_message object_table::forget(const BpBinder* proxy) {
    const Mutex::Autolock lock(mutex_);
    // The same object may have come again, and have a new proxy.
    const auto found = proxies_.find(proxy->object);
    if (found != proxies_.end() && found->second.unsafe_get() == proxy) {
        proxies_.erase(found);
    }
    return {kRelease, 0, proxy->object, proxy->received, proxy->named};
}

bool object_table::has_ended() {
    const Mutex::Autolock lock(mutex_);
    return has_ended_;
}

bool object_table::end_if_empty(const std::function<bool()>& condition) {
    const Mutex::Autolock lock(mutex_);
    if (has_ended_ || !sent_.empty() || !proxies_.empty() || !condition()) {
        return false;
    }
    has_ended_ = true;
    return true;
}

void object_table::end(std::vector<sp<BpBinder>>* proxies, std::vector<sp<IBinder>>* objects) {
    const Mutex::Autolock lock(mutex_);
    has_ended_ = true;
    for (const auto& [object, proxy] : proxies_) {
        sp<BpBinder> alive = proxy.promote();
        if (alive != nullptr) {
            proxies->push_back(std::move(alive));
        }
    }
    for (auto& [object, sent] : sent_) {
        objects->push_back(std::move(sent.object));
    }
    sent_.clear();
    names_.clear();
}

}  // namespace android::corvex_binder
