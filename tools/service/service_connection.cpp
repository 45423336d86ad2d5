#include "tools/service/service_connection.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <zuavplayer/player_types.h>

bool player_service_answers() {
    const auto manager = android::defaultServiceManager();
    return manager->checkService(android::String16(android::kZuAvPlayerServiceName)) != nullptr;
}

void serve_callbacks() {
    android::ProcessState::self()->startThreadPool();
}
