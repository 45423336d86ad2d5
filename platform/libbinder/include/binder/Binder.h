// BBinder: an object of this process. BpRefBase: what holds the object behind an interface's proxy.
#pragma once

#include <binder/IBinder.h>

#pragma GCC visibility push(default)

namespace android {

class BBinder : public IBinder {
  public:
    BBinder() = default;
    BBinder(const BBinder&) = delete;
    BBinder& operator=(const BBinder&) = delete;

    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override { return true; }
    status_t pingBinder() override { return NO_ERROR; }

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) override;

    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;

    BBinder* localBinder() override { return this; }

  protected:
    // Serves one call: on the caller's thread for calls from this process, else on a thread of the
    // library's. `reply` is never null. Hand on what you do not know.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0);
};

class BpRefBase : public virtual RefBase {
  public:
    BpRefBase(const BpRefBase&) = delete;
    BpRefBase& operator=(const BpRefBase&) = delete;

  protected:
    explicit BpRefBase(const sp<IBinder>& o) : mRemote(o) {}

    IBinder* remote() const { return mRemote.get(); }

  private:
    const sp<IBinder> mRemote;
};

}  // namespace android

#pragma GCC visibility pop
