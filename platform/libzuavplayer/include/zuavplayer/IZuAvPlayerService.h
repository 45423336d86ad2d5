// The media player service, found with the service manager under the name "zuavplayer".
#pragma once

#include <memory>  // for binder's headers, which do not all include it

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <zuavplayer/IZuAvPlayer.h>

#pragma GCC visibility push(default)
namespace android {

class IZuAvPlayerService : public IInterface {
  public:
    DECLARE_META_INTERFACE(ZuAvPlayerService)

    // A new player for the caller, or an empty reference where the service cannot give one. What
    // the caller made with it goes away with its last reference, so also when the caller dies.
    virtual sp<IZuAvPlayer> getPlayer() = 0;
};

// The native base of the service.
class BnZuAvPlayerService : public BnInterface<IZuAvPlayerService> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android
#pragma GCC visibility pop
