// Events of the media player service, delivered to whoever registered an observer with a player.
#pragma once

#include <cstdint>
#include <memory>  // for binder's headers, which do not all include it

#include <binder/Binder.h>
#include <binder/IInterface.h>

#pragma GCC visibility push(default)
namespace android {

// The most bytes that a structure, a text or the data of an event may have. With the rest of its
// call it fits into a parcel.
constexpr uint32_t kZuAvPlayerMaxBlockBytes = 255 * 1024;

class IZuAvplayerObserver : public IInterface {
  public:
    DECLARE_META_INTERFACE(ZuAvplayerObserver)

    // Told of event `msg`. `data` holds `len` bytes, borrowed for the call; it may be null when
    // `len` is 0. `source` says what sent it: 0 a player, 1 the resource manager (its data begins
    // with one 32-bit word). Runs on a binder thread of the observer's process; the sender does not
    // wait for it where the observer lives in another process.
    virtual void onMessage(int msg, void* data, uint32_t len, int source) = 0;
};

// How an event is sent: one whose data are too large is not delivered, wherever the observer lives,
// and a log line says so.
void send_event(const sp<IZuAvplayerObserver>& observer, int msg, void* data, uint32_t len,
                int source);

// The native base of an observer: decodes an event and calls onMessage.
class BnZuAvplayerObserver : public BnInterface<IZuAvplayerObserver> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android
#pragma GCC visibility pop
