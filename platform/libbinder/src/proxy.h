// An object of another process: one for each object and connection, so that two references to the
// same object of one service's process are the same while either lives.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <binder/IBinder.h>
#include <utils/Mutex.h>

namespace android::corvex_binder {
class connection;
}

namespace android {

class BpBinder : public IBinder {
  public:
    BpBinder(std::shared_ptr<corvex_binder::connection> by, uint64_t as)
        : from(std::move(by)), object(as) {}
    BpBinder(const BpBinder&) = delete;
    BpBinder& operator=(const BpBinder&) = delete;

    bool isBinderAlive() const override { return is_alive_; }
    status_t pingBinder() override;
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;
    BpBinder* remoteBinder() override { return this; }

    // The object's process is gone: has the recipients told on the executor's threads, which then
    // drop the reference. Without any lock held.
    static void notify_death(sp<BpBinder>&& proxy);

    const std::shared_ptr<corvex_binder::connection> from;
    const uint64_t object;  // as the other process calls it
    uint64_t received = 0;  // how often; the connection's table has the lock
    // How often a message to the other process has named it, as a target or among the objects.
    std::atomic<uint64_t> named{0};

  protected:
    ~BpBinder() override;

  private:
    struct death_link {
        wp<DeathRecipient> recipient;
        void* cookie;
        uint32_t flags;
    };

    std::atomic<bool> is_alive_{true};
    Mutex mutex_;
    std::vector<death_link> links_ GUARDED_BY(mutex_);
};

}  // namespace android
