// What exists in the whole service, and who wants to hear of it.
//
// Any thread; nothing here waits.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "player_service/event_queue.h"
#include "player_service/handle_table.h"

namespace player_service {

class resources {
  public:
    struct counts {
        uint32_t clients = 0;
        uint32_t players = 0;
        uint32_t tracks = 0;
        uint32_t windows = 0;
    };

    counts now() const;
    void count_client(int change);
    // Tells all listeners where the number of players changes.
    void count(handle_kind kind, int change);

    // Tells the present number of players at once, and each change until it is removed. `owner` and
    // `cookie` name the registration, which replaces one of that name.
    void listen(const void* owner, const void* cookie, const std::shared_ptr<event_queue>& queue,
                const android::sp<android::IZuAvplayerObserver>& observer);
    // False when there is none of that name.
    bool ignore(const void* owner, const void* cookie);
    // All of an owner's, or those whose process has gone where `binder` is not null.
    void ignore_all(const void* owner, const android::IBinder* binder = nullptr);

  private:
    struct listener {
        std::shared_ptr<event_queue> queue;
        android::sp<android::IZuAvplayerObserver> observer;
    };
    using name = std::pair<const void*, const void*>;

    void tell(const listener& to) const;

    mutable std::mutex mutex_;
    // Guarded by mutex_.
    counts counts_;
    std::map<name, listener> listeners_;
};

}  // namespace player_service
