// A client that opens the player service, hands it a block and an observer, says "ready" and calls
// on until it is killed.
#include <cstdio>

#include <binder/ProcessState.h>

#include "player_client/player_functions.h"
#include "tests/support/child_process.h"

namespace {

int32_t on_event(int32_t /*handle*/, int32_t /*msg*/, void* /*data*/) {
    return 0;
}

}  // namespace

int main() {
    die_with_parent();
    android::ProcessState::self()->startThreadPool();
    void* handle = nullptr;
    uint32_t player = 0;
    ZUAVPLAYER_Open(&handle);
    ZUAVPLAYER_Init(handle);
    if (ZUAVPLAYER_GetCblk(handle) == nullptr ||
        ZUAVPLAYER_Create(handle, "attr", &player, 4) < 0 ||
        ZUAVPLAYER_RegisterEvent64(handle, 1, 1, reinterpret_cast<void*>(on_event)) < 0) {
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        ZUAVPLAYER_PutBufEx(handle, 1, 1, 1, 0);
    }
}
