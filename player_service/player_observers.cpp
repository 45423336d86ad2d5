#include "player_service/player_observers.h"

#include <zuavplayer/player_types.h>

namespace player_service {

using namespace android;

int32_t player_observers::set(int event, const sp<IZuAvplayerObserver>& observer) {
    if (event < ZU_EVENT_STATE || event > ZU_EVENT_ERROR) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    sp<IZuAvplayerObserver> before = observer;
    const std::lock_guard<std::mutex> guard(mutex_);
    before = observers_[event];  // goes after the lock
    observers_[event] = observer;
    return 0;
}

void player_observers::forget(const IBinder* binder) {
    std::map<int, sp<IZuAvplayerObserver>> gone;
    const std::lock_guard<std::mutex> guard(mutex_);
    for (auto entry = observers_.begin(); entry != observers_.end();) {
        const auto next = std::next(entry);
        if (entry->second != nullptr && IInterface::asBinder(entry->second).get() == binder) {
            gone.insert(observers_.extract(entry));
        }
        entry = next;
    }
}

void player_observers::tell(int event, uint32_t word) const {
    sp<IZuAvplayerObserver> observer;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        const auto found = observers_.find(event);
        if (found != observers_.end()) {
            observer = found->second;
        }
    }
    if (observer != nullptr) {
        queue_->post(observer, event_source::player, event, word);
    }
}

}  // namespace player_service
