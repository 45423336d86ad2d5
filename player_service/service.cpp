#include "player_service/service.h"

#include <utility>

#include "player_service/log.h"

namespace player_service {

using android::IZuAvPlayer;
using android::sp;
using android::wp;

sp<IZuAvPlayer> service::getPlayer() {
    std::vector<sp<client>> others;  // may be the last references, so they go without the lock
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return nullptr;
    }
    std::vector<wp<client>> alive;
    for (const wp<client>& known : clients_) {
        if (sp<client> held = known.promote(); held != nullptr) {
            alive.push_back(known);
            others.push_back(std::move(held));
        }
    }
    clients_ = std::move(alive);
    if (clients_.size() >= kMostClients) {
        if (!std::exchange(is_full_, true)) {
            LOGE("a client is refused: there are %zu already", clients_.size());
        }
        return nullptr;
    }
    is_full_ = false;
    const sp<client> made = new client(context_);
    clients_.push_back(made);
    return made;
}

void service::retire() {
    std::vector<wp<client>> clients;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        retired_ = true;
        clients.swap(clients_);
    }
    for (const wp<client>& known : clients) {
        if (const sp<client> held = known.promote(); held != nullptr) {
            held->retire();
        }
    }
}

}  // namespace player_service
