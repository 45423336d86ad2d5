// A client that plays until it is killed: opens a player, feeds it silence at whatever pace it
// takes, and says "ready" once the first of it has been taken.
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include <binder/IServiceManager.h>
#include <binder/MemoryBase.h>
#include <binder/MemoryHeapBase.h>
#include <binder/ProcessState.h>
#include <utils/String16.h>
#include <zuavplayer/IZuAvPlayerService.h>
#include <zuavplayer/player_types.h>

#include "tests/support/child_process.h"

using namespace android;

namespace {

constexpr uint32_t kChunkBytes = 1024;

bool open_player(IZuAvPlayer& client, uint32_t* player) {
    zu_player_config config = {};
    zu_track_attr attributes = {};
    uint32_t track = 0;
    return client.Init() == 0 &&
           client.SetShareMemory(new MemoryBase(new MemoryHeapBase(8192), 0, 8192)) == 0 &&
           client.Create(&config, player, sizeof config) == 0 && client.SndInit(0) == 0 &&
           client.CreateTrack(0, &attributes, &track, sizeof attributes) == 0 &&
           client.AttachSnd(track, *player) == 0 &&
           client.ChnOpen(*player, ZU_CHN_AUD, nullptr, 0) == 0 &&
           client.Start(*player, ZU_CHN_AUD, nullptr, 0) == 0 &&
           client.Resume(*player, nullptr, 0) == 0;
}

}  // namespace

int main() {
    die_with_parent();
    ProcessState::self()->startThreadPool();
    const auto service = interface_cast<IZuAvPlayerService>(
        defaultServiceManager()->getService(String16(kZuAvPlayerServiceName)));
    const sp<IZuAvPlayer> client = service == nullptr ? nullptr : service->getPlayer();
    uint32_t player = 0;
    if (client == nullptr || !open_player(*client, &player)) {
        return 1;
    }
    for (bool told = false;;) {
        if (client->GetBuf(player, ZU_BUF_AUD, kChunkBytes, 0) != 0) {
            usleep(1000);
            continue;
        }
        if (client->PutBufEx(player, ZU_BUF_AUD, kChunkBytes, ZU_PTS_NONE) == 0 && !told) {
            told = true;
            std::puts("ready");
            std::fflush(stdout);
        }
    }
}
