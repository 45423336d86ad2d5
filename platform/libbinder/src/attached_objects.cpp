#include "attached_objects.h"

#include "log.h"

namespace corvex_binder {

attached_objects::~attached_objects() {
    for (const auto& [id, one] : entries_) {
        if (one.cleanup != nullptr) {
            one.cleanup(id, one.object, one.cookie);
        }
    }
}

void attached_objects::attach(const void* id, void* object, void* cookie,
                              android::IBinder::object_cleanup_func cleanup) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!entries_.try_emplace(id, entry{object, cookie, cleanup}).second) {
        BINDER_LOG(ERROR, "the id %p is already attached to this object: detach it first", id);
    }
}

void* attached_objects::find(const void* id) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(id);
    return found != entries_.end() ? found->second.object : nullptr;
}

void attached_objects::detach(const void* id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_.erase(id);
}

}  // namespace corvex_binder
