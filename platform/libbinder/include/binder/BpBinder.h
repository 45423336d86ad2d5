// BpBinder: an object of another process. Made by the library only, one for each object and
// connection: two references to the same object of one service's process are the same while either
// lives.
#pragma once

#include <memory>

#include <binder/IBinder.h>

#pragma GCC visibility push(default)

namespace corvex_binder {
struct proxy_state;
struct proxy_access;
}  // namespace corvex_binder

namespace android {

class BpBinder : public IBinder {
  public:
    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override;
    status_t pingBinder() override;

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) override;

    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;

    BpBinder* remoteBinder() override;

    BpBinder(const BpBinder&) = delete;
    BpBinder& operator=(const BpBinder&) = delete;

  protected:
    ~BpBinder() override;

  private:
    friend struct corvex_binder::proxy_access;
    explicit BpBinder(std::unique_ptr<corvex_binder::proxy_state> state);

    const std::unique_ptr<corvex_binder::proxy_state> mState;
};

}  // namespace android

#pragma GCC visibility pop
