// BBinder: an object of this process.
#pragma once

#include <binder/IBinder.h>

namespace android {

class BINDER_EXPORT BBinder : public IBinder {
  public:
    BBinder() = default;
    BBinder(const BBinder&) = delete;
    BBinder& operator=(const BBinder&) = delete;

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) override;
    BBinder* localBinder() override { return this; }

  protected:
    // Serves one call: on the caller's thread for calls from this process, else on a thread of the
    // library's. `reply` is never null. Hand on what you do not know.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0);
};

}  // namespace android
