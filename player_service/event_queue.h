// Events on their way to one client's observers, in order, by a thread of the client's own: one
// that does not take its events holds up neither the service nor other clients.
//
// Any thread may post; posting never waits. An observer may call back into the service, and may
// drop the last reference to its client.
#pragma once

#include <cstdint>
#include <memory>

#include <utils/StrongPointer.h>
#include <zuavplayer/IZuAvplayerObserver.h>

namespace player_service {

// The source of a message.
enum class event_source : int { player = 0, resources = 1 };

class event_queue {
  public:
    // The most events that wait; beyond, the oldest are dropped.
    static constexpr size_t kMostWaiting = 256;

    event_queue();
    // Drops what waits. Returns when no observer is being told any more, except on the queue's own
    // thread.
    ~event_queue();
    event_queue(const event_queue&) = delete;
    event_queue& operator=(const event_queue&) = delete;

    void post(const android::sp<android::IZuAvplayerObserver>& observer, event_source source,
              int message, uint32_t word);

  private:
    struct state;
    static void deliver(const std::shared_ptr<state>& state);

    const std::shared_ptr<state> state_;
};

}  // namespace player_service
