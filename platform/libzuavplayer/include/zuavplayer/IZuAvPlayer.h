// A client's connection to the media player: players, sound outputs, tracks and video windows, all
// named by 32-bit handles that the service issues (sound ids are the caller's choice).
//
// Every operation returns a status: 0 for success, a code of the service
// (zuavplayer/player_types.h), or a negative errno of the connection: DEAD_OBJECT when the service
// has gone, BAD_VALUE for a request that cannot be carried. Pointers stay the caller's and are used
// for the call only; a length is the byte count of the structure that the pointer of the same call
// points to. An out structure travels with what it holds, so what the service leaves alone stays as
// it was.
//
// The order of the operations is their transaction code, 1 onwards. Calls may come from any thread.
#pragma once

#include <cstdint>
#include <memory>  // for binder's headers, which do not all include it

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/IMemory.h>
#include <zuavplayer/IZuAvplayerObserver.h>

#pragma GCC visibility push(default)
namespace android {

class IZuAvPlayer : public IInterface {
  public:
    DECLARE_META_INTERFACE(ZuAvPlayer)

    // The system, and what it can decode.
    virtual int32_t SYS_Init() = 0;
    virtual int32_t Init() = 0;
    virtual int32_t DeInit() = 0;
    virtual int32_t RegisterAcodecLib(const char* library) = 0;
    virtual int32_t FoundSupportDecoder(uint32_t value, uint32_t* result) = 0;

    // Players.
    virtual int32_t GetDefaultConfig(void* config, int type, uint32_t length) = 0;
    virtual int32_t Create(const void* attributes, uint32_t* player, uint32_t length) = 0;
    virtual int32_t Destroy(uint32_t player) = 0;
    virtual int32_t RegisterEvent64(uint32_t player, int event,
                                    const sp<IZuAvplayerObserver>& observer) = 0;
    virtual int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length) = 0;
    virtual int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) = 0;
    virtual int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) = 0;
    virtual int32_t SetAdecOutBufSize(uint32_t player, uint32_t size) = 0;
    virtual int32_t ChnOpen(uint32_t player, int channel, const void* parameters,
                            uint32_t length) = 0;
    virtual int32_t ChnClose(uint32_t player, int channel) = 0;
    virtual int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes,
                           uint32_t value) = 0;
    virtual int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes,
                             uint32_t pts_ms) = 0;
    virtual int32_t Start(uint32_t player, int channel, const void* option, uint32_t length) = 0;
    virtual int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length) = 0;
    virtual int32_t Pause(uint32_t player, const void* option, uint32_t length) = 0;
    virtual int32_t Resume(uint32_t player, const void* option, uint32_t length) = 0;
    virtual int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length) = 0;
    virtual int32_t SetTunnelMode(uint32_t player, int value, bool enable) = 0;
    virtual int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                               uint32_t value) = 0;
    virtual int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length) = 0;
    virtual int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                                uint32_t nSamplesPerSec, int s32BitSample) = 0;

    // Sound outputs and their tracks.
    virtual int32_t SetSndLatency(uint32_t sound, uint32_t latency) = 0;
    virtual int32_t SndInit(uint32_t sound) = 0;
    virtual int32_t SndDeInit(uint32_t sound) = 0;
    virtual int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) = 0;
    virtual int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                                uint32_t length) = 0;
    virtual int32_t DestroyTrack(uint32_t track) = 0;
    virtual int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms) = 0;
    virtual int32_t AttachSnd(uint32_t track, uint32_t source) = 0;
    virtual int32_t DetachSnd(uint32_t track, uint32_t source) = 0;

    // Video output.
    virtual int32_t VO_Init(int value) = 0;
    virtual int32_t VO_DeInit() = 0;
    virtual int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) = 0;
    virtual int32_t VO_AttachWindow(uint32_t window, uint32_t source) = 0;
    virtual int32_t VO_SetWindowEnable(uint32_t window, bool enable) = 0;
    virtual int32_t VO_DetachWindow(uint32_t window, uint32_t source) = 0;
    virtual int32_t VO_DestroyWindow(uint32_t window) = 0;

    // Place 43 is kept free: no client calls it, and its code is answered UNKNOWN_TRANSACTION.
    virtual int32_t Reserved43();

    // The block through which stream data travels; an empty reference takes it back.
    virtual int32_t SetShareMemory(const sp<IMemory>& block) = 0;

    virtual int32_t FlushStream(uint32_t player, const void* option, uint32_t length) = 0;
    virtual int32_t VO_SetRotation(uint32_t window, uint32_t rotation) = 0;
    virtual int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) = 0;
    virtual int32_t SndGetMsFeature(uint32_t value) = 0;

    // Resource manager. `client` is the caller's own context: a name for its registration, never
    // followed by the service.
    virtual int32_t RM_init() = 0;
    virtual int32_t RM_Deinit() = 0;
    virtual int32_t RM_RegisterCallback(void* client, const sp<IZuAvplayerObserver>& observer,
                                        uint32_t value) = 0;
    virtual int32_t RM_UnRegisterCallback(void* client) = 0;

    virtual int32_t CheckCloseState(uint32_t value, uint32_t* state) = 0;
};

// The native base of a player: decodes each request, checks it, and calls the operation. Requests
// of one client may arrive on several binder threads at once.
class BnZuAvPlayer : public BnInterface<IZuAvPlayer> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android
#pragma GCC visibility pop
