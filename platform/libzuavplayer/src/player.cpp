// IZuAvPlayer: proxy and stub, both from the one list of its operations.
#include <zuavplayer/IZuAvPlayer.h>

#include "player_operations.h"

namespace android {

using zuavplayer::PlayerOperations;

namespace {

template <auto Method, typename... Arguments>
int32_t call(IBinder* remote, const Arguments&... arguments) {
    return PlayerOperations::Of<Method>::call(remote, arguments...);
}

}  // namespace

class BpZuAvPlayer : public BpInterface<IZuAvPlayer> {
  public:
    explicit BpZuAvPlayer(const sp<IBinder>& impl) : BpInterface<IZuAvPlayer>(impl) {}

    int32_t SYS_Init() override { return call<&IZuAvPlayer::SYS_Init>(remote()); }
    int32_t Init() override { return call<&IZuAvPlayer::Init>(remote()); }
    int32_t DeInit() override { return call<&IZuAvPlayer::DeInit>(remote()); }
    int32_t RegisterAcodecLib(const char* library) override {
        return call<&IZuAvPlayer::RegisterAcodecLib>(remote(), library);
    }
    int32_t FoundSupportDecoder(uint32_t value, uint32_t* result) override {
        return call<&IZuAvPlayer::FoundSupportDecoder>(remote(), value, result);
    }
    int32_t GetDefaultConfig(void* config, int type, uint32_t length) override {
        return call<&IZuAvPlayer::GetDefaultConfig>(remote(), config, type, length);
    }
    int32_t Create(const void* attributes, uint32_t* player, uint32_t length) override {
        return call<&IZuAvPlayer::Create>(remote(), attributes, player, length);
    }
    int32_t Destroy(uint32_t player) override {
        return call<&IZuAvPlayer::Destroy>(remote(), player);
    }
    int32_t RegisterEvent64(uint32_t player, int event,
                            const sp<IZuAvplayerObserver>& observer) override {
        return call<&IZuAvPlayer::RegisterEvent64>(remote(), player, event, observer);
    }
    int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length) override {
        return call<&IZuAvPlayer::GetAttr>(remote(), player, id, attribute, length);
    }
    int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) override {
        return call<&IZuAvPlayer::SetAttr>(remote(), player, id, attribute, length);
    }
    int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) override {
        return call<&IZuAvPlayer::GetAdecOutFrameInfo>(remote(), player, first, second);
    }
    int32_t SetAdecOutBufSize(uint32_t player, uint32_t size) override {
        return call<&IZuAvPlayer::SetAdecOutBufSize>(remote(), player, size);
    }
    int32_t ChnOpen(uint32_t player, int channel, const void* parameters,
                    uint32_t length) override {
        return call<&IZuAvPlayer::ChnOpen>(remote(), player, channel, parameters, length);
    }
    int32_t ChnClose(uint32_t player, int channel) override {
        return call<&IZuAvPlayer::ChnClose>(remote(), player, channel);
    }
    int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes, uint32_t value) override {
        return call<&IZuAvPlayer::GetBuf>(remote(), player, buffer, requested_bytes, value);
    }
    int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes, uint32_t pts_ms) override {
        return call<&IZuAvPlayer::PutBufEx>(remote(), player, buffer, valid_bytes, pts_ms);
    }
    int32_t Start(uint32_t player, int channel, const void* option, uint32_t length) override {
        return call<&IZuAvPlayer::Start>(remote(), player, channel, option, length);
    }
    int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length) override {
        return call<&IZuAvPlayer::Stop>(remote(), player, channel, option, length);
    }
    int32_t Pause(uint32_t player, const void* option, uint32_t length) override {
        return call<&IZuAvPlayer::Pause>(remote(), player, option, length);
    }
    int32_t Resume(uint32_t player, const void* option, uint32_t length) override {
        return call<&IZuAvPlayer::Resume>(remote(), player, option, length);
    }
    int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length) override {
        return call<&IZuAvPlayer::GetStreamInfo>(remote(), player, info, length);
    }
    int32_t SetTunnelMode(uint32_t player, int value, bool enable) override {
        return call<&IZuAvPlayer::SetTunnelMode>(remote(), player, value, enable);
    }
    int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                       uint32_t value) override {
        return call<&IZuAvPlayer::SetHDRInfo>(remote(), player, info, length, flag, value);
    }
    int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length) override {
        return call<&IZuAvPlayer::GetHDRInfo>(remote(), player, info, length);
    }
    int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                        uint32_t nSamplesPerSec, int s32BitSample) override {
        return call<&IZuAvPlayer::SetAdecAttr>(remote(), player, u32AdecType, nChannels,
                                               nSamplesPerSec, s32BitSample);
    }
    int32_t SetSndLatency(uint32_t sound, uint32_t latency) override {
        return call<&IZuAvPlayer::SetSndLatency>(remote(), sound, latency);
    }
    int32_t SndInit(uint32_t sound) override {
        return call<&IZuAvPlayer::SndInit>(remote(), sound);
    }
    int32_t SndDeInit(uint32_t sound) override {
        return call<&IZuAvPlayer::SndDeInit>(remote(), sound);
    }
    int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) override {
        return call<&IZuAvPlayer::GetTrackDefAttr>(remote(), type, attributes, length);
    }
    int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                        uint32_t length) override {
        return call<&IZuAvPlayer::CreateTrack>(remote(), sound, attributes, track, length);
    }
    int32_t DestroyTrack(uint32_t track) override {
        return call<&IZuAvPlayer::DestroyTrack>(remote(), track);
    }
    int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms) override {
        return call<&IZuAvPlayer::GetDelayMs>(remote(), track, delay_ms);
    }
    int32_t AttachSnd(uint32_t track, uint32_t source) override {
        return call<&IZuAvPlayer::AttachSnd>(remote(), track, source);
    }
    int32_t DetachSnd(uint32_t track, uint32_t source) override {
        return call<&IZuAvPlayer::DetachSnd>(remote(), track, source);
    }
    int32_t VO_Init(int value) override { return call<&IZuAvPlayer::VO_Init>(remote(), value); }
    int32_t VO_DeInit() override { return call<&IZuAvPlayer::VO_DeInit>(remote()); }
    int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) override {
        return call<&IZuAvPlayer::VO_CreateWindow>(remote(), attributes, window, length);
    }
    int32_t VO_AttachWindow(uint32_t window, uint32_t source) override {
        return call<&IZuAvPlayer::VO_AttachWindow>(remote(), window, source);
    }
    int32_t VO_SetWindowEnable(uint32_t window, bool enable) override {
        return call<&IZuAvPlayer::VO_SetWindowEnable>(remote(), window, enable);
    }
    int32_t VO_DetachWindow(uint32_t window, uint32_t source) override {
        return call<&IZuAvPlayer::VO_DetachWindow>(remote(), window, source);
    }
    int32_t VO_DestroyWindow(uint32_t window) override {
        return call<&IZuAvPlayer::VO_DestroyWindow>(remote(), window);
    }
    int32_t SetShareMemory(const sp<IMemory>& block) override {
        return call<&IZuAvPlayer::SetShareMemory>(remote(), block);
    }
    int32_t FlushStream(uint32_t player, const void* option, uint32_t length) override {
        return call<&IZuAvPlayer::FlushStream>(remote(), player, option, length);
    }
    int32_t VO_SetRotation(uint32_t window, uint32_t rotation) override {
        return call<&IZuAvPlayer::VO_SetRotation>(remote(), window, rotation);
    }
    int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) override {
        return call<&IZuAvPlayer::GetAudioPlaytime>(remote(), player, first, second);
    }
    int32_t SndGetMsFeature(uint32_t value) override {
        return call<&IZuAvPlayer::SndGetMsFeature>(remote(), value);
    }
    int32_t RM_init() override { return call<&IZuAvPlayer::RM_init>(remote()); }
    int32_t RM_Deinit() override { return call<&IZuAvPlayer::RM_Deinit>(remote()); }
    int32_t RM_RegisterCallback(void* client, const sp<IZuAvplayerObserver>& observer,
                                uint32_t value) override {
        return call<&IZuAvPlayer::RM_RegisterCallback>(remote(), client, observer, value);
    }
    int32_t RM_UnRegisterCallback(void* client) override {
        return call<&IZuAvPlayer::RM_UnRegisterCallback>(remote(), client);
    }
    int32_t CheckCloseState(uint32_t value, uint32_t* state) override {
        return call<&IZuAvPlayer::CheckCloseState>(remote(), value, state);
    }
};

IMPLEMENT_META_INTERFACE(ZuAvPlayer, "corvex.zuavplayer.IZuAvPlayer")

int32_t IZuAvPlayer::Reserved43() {
    return INVALID_OPERATION;
}

status_t BnZuAvPlayer::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                  uint32_t flags) {
    const PlayerOperations::Server serve = PlayerOperations::server(code);
    if (serve == nullptr) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.checkInterface(this)) {
        return BAD_VALUE;
    }
    return serve(this, data, reply);
}

}  // namespace android
