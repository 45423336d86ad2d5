// The fake player service as a process: fake_player_service JOURNAL [empty]. With "empty" it gives
// out no players.
#include <cstdio>
#include <cstring>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "tests/player_client/fake_player.h"
#include "tests/support/child_process.h"

int main(int argc, char** argv) {
    die_with_parent();
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s JOURNAL [empty]\n", argv[0]);
        return 2;
    }
    const bool empty = argc > 2 && std::strcmp(argv[2], "empty") == 0;
    android::ProcessState::self()->startThreadPool();
    const android::status_t registered = android::defaultServiceManager()->addService(
        android::String16("zuavplayer"), new fake_player_service(argv[1], empty));
    if (registered != android::NO_ERROR) {
        std::fprintf(stderr, "addService: %d\n", registered);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    android::IPCThreadState::self()->joinThreadPool();
    return 0;
}
