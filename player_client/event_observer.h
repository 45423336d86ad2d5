// Receives the player service's events and hands them to callbacks given as plain functions, whose
// results are ignored.
//
// onMessage runs on a binder thread of this process, the rest on the threads that register. There
// is no lock: a callback may still run for an event that crossed its unregistration.
#pragma once

#include <cstdint>

#include <zuavplayer/IZuAvplayerObserver.h>

namespace android {

// What sent a message.
enum ZuAVPLAYER_EVENT_SOURCE_E : int {
    ZuAVPLAYER_EVENT_SOURCE_AVPLAY = 0,
    ZuAVPLAYER_EVENT_SOURCE_RM = 1,
};

class AVObserver : public BnZuAvplayerObserver {
  public:
    // A player's event: the handle given at registration, the message, its data (borrowed).
    using avplay_notify = int32_t (*)(int32_t handle, int32_t msg, void* data);
    // A notification of the resource manager: the client given at registration, the message, its
    // word.
    using rm_notify = int32_t (*)(void* client, int32_t msg, int32_t value);

    ~AVObserver() override;

    // Replaces the callback of `source`. A player's callback keeps `handle`, the resource manager's
    // keeps `client`; null clears it.
    void setNotifyFunc(int handle, void* client, void* func, ZuAVPLAYER_EVENT_SOURCE_E source);

    // A message of the resource manager with less than its one word of data is dropped.
    void onMessage(int msg, void* data, uint32_t len, int source) override;

  private:
    // Stored and loaded relaxed: a registration reaches the service after its stores, so an event
    // never meets less than them.
    avplay_notify mAvplayNotify = nullptr;
    rm_notify mRmNotify = nullptr;
    void* mRmClient = nullptr;
    int32_t mAvplayHandle = 0;
};

}  // namespace android
