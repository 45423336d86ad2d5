#include "tools/service_probe.h"

#include <binder/IServiceManager.h>
#include <zuavplayer/player_types.h>

bool player_service_answers() {
    const auto manager = android::defaultServiceManager();
    return manager->checkService(android::String16(android::kZuAvPlayerServiceName)) != nullptr;
}
