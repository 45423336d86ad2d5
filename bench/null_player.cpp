#include "bench/null_player.h"

#include <binder/IServiceManager.h>
#include <zuavplayer/player_types.h>

#include "bench/subject.h"

namespace {

class null_player_service : public android::BnZuAvPlayerService {
  public:
    explicit null_player_service(std::string** kept) : kept_(kept) {}
    android::sp<android::IZuAvPlayer> getPlayer() override { return new null_player(kept_); }

  private:
    std::string** const kept_;
};

}  // namespace

void offer_null_players(std::string** kept) {
    const android::String16 name(android::kZuAvPlayerServiceName);
    if (android::defaultServiceManager()->addService(name, new null_player_service(kept)) != 0) {
        give_up("the player service cannot be registered");
    }
}

void offer_null_players() {
    static std::string* nothing = nullptr;
    offer_null_players(&nothing);
}
