// The connection to the media player service: finds it, holds the remote player, shares one block
// of memory with it, forwards every operation, and receives its events.
//
// Connected or not is decided once, at construction: an adapter without a player never gets one,
// and everything it is asked then answers -19 (NO_INIT) with a warning. Operations run on the
// caller's thread and take no lock. What the service answers is returned unchanged; DEAD_OBJECT
// (-32) says that it has gone.
#pragma once

#include <cstdint>
#include <memory>  // for binder's headers, which do not all include it

#include <binder/IMemory.h>
#include <binder/MemoryHeapBase.h>
#include <zuavplayer/IZuAvPlayer.h>

#include "player_client/event_observer.h"

namespace android {

class ZuAvPlayerAdp {
  public:
    // Asks the service manager for the service, waiting as long as that waits. Never fails.
    ZuAvPlayerAdp();
    // Drops the player, then the observer, the heap and the block. The service is told nothing
    // beyond that, and an observer that it still holds stays alive with its callbacks.
    virtual ~ZuAvPlayerAdp();
    ZuAvPlayerAdp(const ZuAvPlayerAdp&) = delete;
    ZuAvPlayerAdp& operator=(const ZuAvPlayerAdp&) = delete;

    // Makes heap and block anew and clears the block: 0, or -1 where memory is short.
    int32_t AllocShareMem();
    // AllocShareMem, whose failure shows only as a null GetCblk, then initialises the remote
    // player.
    int32_t Init();
    // Releases the block and the heap, then the remote player's state. The observer stays.
    int32_t DeInit();
    // The shared block, kBlockBytes long, from Init to DeInit; null otherwise.
    void* GetCblk();
    // Hands the block over, then creates a player.
    int32_t Create(const void* attributes, uint32_t* player, uint32_t length);

    // One callback serves all players and events: a second registration replaces the first.
    // `callback` is called as event_observer.h says.
    int32_t RegisterEvent64(uint32_t player, int event, void* callback);
    int32_t RM_RegisterCallback(void* client, void* notify, uint32_t value);
    int32_t RM_UnRegisterCallback(void* client, void* notify);

    // Plain forwards; see IZuAvPlayer.
    int32_t SYS_Init();
    int32_t RegisterAcodecLib(const char* library);
    int32_t FoundSupportDecoder(uint32_t value, uint32_t* result);
    int32_t GetDefaultConfig(void* config, int type, uint32_t length);
    int32_t Destroy(uint32_t player);
    int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length);
    int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length);
    int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second);
    int32_t SetAdecOutBufSize(uint32_t player, uint32_t size);
    int32_t ChnOpen(uint32_t player, int channel, const void* parameters, uint32_t length);
    int32_t ChnClose(uint32_t player, int channel);
    int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes, uint32_t value);
    int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes, uint32_t pts_ms);
    int32_t Start(uint32_t player, int channel, const void* option, uint32_t length);
    int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length);
    int32_t Pause(uint32_t player, const void* option, uint32_t length);
    int32_t Resume(uint32_t player, const void* option, uint32_t length);
    int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length);
    int32_t SetTunnelMode(uint32_t player, int value, bool enable);
    int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                       uint32_t value);
    int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length);
    int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                        uint32_t nSamplesPerSec, int s32BitSample);
    int32_t SetSndLatency(uint32_t sound, uint32_t latency);
    int32_t SndInit(uint32_t sound);
    int32_t SndDeInit(uint32_t sound);
    int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length);
    int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track, uint32_t length);
    int32_t DestroyTrack(uint32_t track);
    int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms);
    int32_t AttachSnd(uint32_t track, uint32_t source);
    int32_t DetachSnd(uint32_t track, uint32_t source);
    int32_t VO_Init(int value);
    int32_t VO_DeInit();
    int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length);
    int32_t VO_AttachWindow(uint32_t window, uint32_t source);
    int32_t VO_SetWindowEnable(uint32_t window, bool enable);
    int32_t VO_DetachWindow(uint32_t window, uint32_t source);
    int32_t VO_DestroyWindow(uint32_t window);
    int32_t FlushStream(uint32_t player, const void* option, uint32_t length);
    int32_t VO_SetRotation(uint32_t window, uint32_t rotation);
    int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second);
    int32_t SndGetMsFeature(uint32_t value);
    int32_t RM_init();
    int32_t RM_Deinit();
    int32_t CheckCloseState(uint32_t value, uint32_t* state);

    static constexpr uint32_t kBlockBytes = 0x2000;

  private:
    bool connected(const char* operation) const;
    template <typename Operation, typename... Arguments>
    int32_t forward(const char* name, Operation operation, Arguments... arguments);
    const sp<AVObserver>& observer_on_demand();

    sp<IZuAvPlayer> mZuAvPlayer;
    sp<IMemory> mShareMemory;
    sp<MemoryHeapBase> mMemHeap;
    sp<AVObserver> mObserver;
};

}  // namespace android
