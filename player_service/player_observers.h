// Who is told of which event of a player. Any thread; nothing here waits.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "player_service/event_queue.h"

namespace player_service {

class player_observers {
  public:
    explicit player_observers(std::shared_ptr<event_queue> queue) : queue_(std::move(queue)) {}

    // One observer an event; an empty reference ends that. A status of the service.
    int32_t set(int event, const android::sp<android::IZuAvplayerObserver>& observer);
    // Of an observer whose process has gone.
    void forget(const android::IBinder* binder);

    void tell(int event, uint32_t word) const;

  private:
    const std::shared_ptr<event_queue> queue_;
    mutable std::mutex mutex_;
    std::map<int, android::sp<android::IZuAvplayerObserver>> observers_;  // guarded by mutex_
};

}  // namespace player_service
