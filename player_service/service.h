// The service object: gives each caller a connection of its own.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <zuavplayer/IZuAvPlayerService.h>

#include "player_service/client.h"
#include "player_service/service_context.h"

namespace player_service {

class service : public android::BnZuAvPlayerService {
  public:
    static constexpr size_t kMostClients = 64;

    explicit service(const std::shared_ptr<service_context>& context) : context_(context) {}

    // Empty when there are too many clients, and once the service is going.
    android::sp<android::IZuAvPlayer> getPlayer() override;

    // Ends what all clients have: their sound is out, and files are complete. Any thread.
    void retire();

  private:
    const std::shared_ptr<service_context> context_;
    std::mutex mutex_;
    // Guarded by mutex_.
    bool retired_ = false;
    bool is_full_ = false;  // and that has been said
    std::vector<android::wp<client>> clients_;
};

}  // namespace player_service
