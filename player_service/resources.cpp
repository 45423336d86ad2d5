#include "player_service/resources.h"

#include <zuavplayer/player_types.h>

namespace player_service {

using namespace android;

resources::counts resources::now() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return counts_;
}

void resources::count_client(int change) {
    const std::lock_guard<std::mutex> guard(mutex_);
    counts_.clients += static_cast<uint32_t>(change);
}

void resources::count(handle_kind kind, int change) {
    const std::lock_guard<std::mutex> guard(mutex_);
    uint32_t& counted = kind == handle_kind::player  ? counts_.players
                        : kind == handle_kind::track ? counts_.tracks
                                                     : counts_.windows;
    counted += static_cast<uint32_t>(change);
    if (kind != handle_kind::player) {
        return;
    }
    // With the lock, so that numbers arrive in their order.
    for (const auto& [key, to] : listeners_) {
        tell(to);
    }
}

void resources::tell(const listener& to) const {
    to.queue->post(to.observer, event_source::resources, ZU_RM_EVENT_PLAYERS, counts_.players);
}

void resources::listen(const void* owner, const void* cookie,
                       const std::shared_ptr<event_queue>& queue,
                       const sp<IZuAvplayerObserver>& observer) {
    listener before{queue, observer};  // goes without the lock
    const std::lock_guard<std::mutex> guard(mutex_);
    std::swap(listeners_[{owner, cookie}], before);
    tell(listeners_[{owner, cookie}]);
}

bool resources::ignore(const void* owner, const void* cookie) {
    std::map<name, listener>::node_type gone;
    const std::lock_guard<std::mutex> guard(mutex_);
    gone = listeners_.extract({owner, cookie});
    return !gone.empty();
}

void resources::ignore_all(const void* owner, const IBinder* binder) {
    std::map<name, listener> gone;
    const std::lock_guard<std::mutex> guard(mutex_);
    for (auto entry = listeners_.begin(); entry != listeners_.end();) {
        const auto next = std::next(entry);
        if (entry->first.first == owner &&
            (binder == nullptr || IInterface::asBinder(entry->second.observer).get() == binder)) {
            gone.insert(listeners_.extract(entry));
        }
        entry = next;
    }
}

}  // namespace player_service
