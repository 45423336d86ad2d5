#include "player_client/player_adapter.h"

#include <new>

#include <annexk/annexk.h>
#include <binder/IServiceManager.h>
#include <binder/MemoryBase.h>
#include <utils/String16.h>
#include <zuavplayer/IZuAvPlayerService.h>

#include "diag/log.h"

namespace {

constexpr const char* log_tag = "ZUAVPLAYER_ADP";

// The address of a block. Later releases of binder make pointer() private and offer it as
// unsecurePointer(), because the other side may change the bytes at any time.
template <typename Memory>
auto address_of(const Memory& memory, int /*preferred*/) -> decltype(memory.unsecurePointer()) {
    return memory.unsecurePointer();
}
template <typename Memory>
auto address_of(const Memory& memory, long /*otherwise*/) -> decltype(memory.pointer()) {
    return memory.pointer();
}

}  // namespace

namespace android {

ZuAvPlayerAdp::ZuAvPlayerAdp() {
    const sp<IServiceManager> manager = defaultServiceManager();
    const sp<IBinder> binder = manager->getService(String16("zuavplayer"));
    const sp<IZuAvPlayerService> service = IZuAvPlayerService::asInterface(binder);
    if (service == nullptr) {
        HAL_LOGE("%s  : Cannot obtain IZuAvPlayerService", "ZuAvPlayerAdp");
        return;
    }
    mZuAvPlayer = service->getPlayer();
    if (mZuAvPlayer == nullptr) {
        HAL_LOGE("%s : Cannot obtain IZuAvPlayer instance", "ZuAvPlayerAdp");
        return;
    }
    HAL_LOGI("obtain IZuAvPlayer instance success mZuAvPlayer(%p)",
             static_cast<void*>(mZuAvPlayer.get()));
}

ZuAvPlayerAdp::~ZuAvPlayerAdp() {
    mZuAvPlayer.clear();
    mObserver.clear();
    mMemHeap.clear();
    mShareMemory.clear();
}

// `operation` is the name in the warning.
bool ZuAvPlayerAdp::connected(const char* operation) const {
    if (mZuAvPlayer != nullptr) {
        return true;
    }
    HAL_LOGW("%s ZuAvPlayer has not been inited", operation);
    return false;
}

template <typename Operation, typename... Arguments>
int32_t ZuAvPlayerAdp::forward(const char* name, Operation operation, Arguments... arguments) {
    return connected(name) ? (mZuAvPlayer.get()->*operation)(arguments...) : NO_INIT;
}

int32_t ZuAvPlayerAdp::AllocShareMem() {
    mMemHeap = new (std::nothrow) MemoryHeapBase(kBlockBytes, 0, "ZuAvPlayerAdp Heap Base");
    if (mMemHeap == nullptr || mMemHeap->getHeapID() < 0) {
        HAL_LOGE("new MemoryHeapBase failed");
        return -1;
    }
    mShareMemory = new (std::nothrow) MemoryBase(mMemHeap, 0, kBlockBytes);
    void* block = mShareMemory != nullptr ? address_of(*mShareMemory, 0) : nullptr;
    if (block == nullptr) {
        return -1;
    }
    const int error = memset_s(block, mShareMemory->size(), 0, kBlockBytes);
    if (error != 0) {
        HAL_LOGE("call memset_s mShareMemory failed 0x%x\n", static_cast<unsigned>(error));
    }
    return 0;
}

int32_t ZuAvPlayerAdp::Init() {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    AllocShareMem();
    return mZuAvPlayer->Init();
}

int32_t ZuAvPlayerAdp::DeInit() {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    mShareMemory.clear();
    mMemHeap.clear();
    return mZuAvPlayer->DeInit();
}

void* ZuAvPlayerAdp::GetCblk() {
    if (!connected(__func__) || mShareMemory == nullptr) {
        return nullptr;
    }
    return address_of(*mShareMemory, 0);
}

int32_t ZuAvPlayerAdp::Create(const void* attributes, uint32_t* player, uint32_t length) {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    mZuAvPlayer->SetShareMemory(mShareMemory);
    return mZuAvPlayer->Create(attributes, player, length);
}

// Null where memory is short.
const sp<AVObserver>& ZuAvPlayerAdp::observer_on_demand() {
    if (mObserver == nullptr) {
        mObserver = new (std::nothrow) AVObserver;
    }
    return mObserver;
}

int32_t ZuAvPlayerAdp::RegisterEvent64(uint32_t player, int event, void* callback) {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    if (observer_on_demand() == nullptr) {
        return NO_MEMORY;
    }
    mObserver->setNotifyFunc(static_cast<int>(player), nullptr, callback,
                             ZuAVPLAYER_EVENT_SOURCE_AVPLAY);
    return mZuAvPlayer->RegisterEvent64(player, event, mObserver);
}

int32_t ZuAvPlayerAdp::RM_RegisterCallback(void* client, void* notify, uint32_t value) {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    if (observer_on_demand() == nullptr) {
        return NO_MEMORY;
    }
    mObserver->setNotifyFunc(0, client, notify, ZuAVPLAYER_EVENT_SOURCE_RM);
    return mZuAvPlayer->RM_RegisterCallback(client, mObserver, value);
}

int32_t ZuAvPlayerAdp::RM_UnRegisterCallback(void* client, void* /*notify*/) {
    if (!connected(__func__)) {
        return NO_INIT;
    }
    if (mObserver == nullptr) {
        HAL_LOGW("%s observer has not been inited", __func__);
        return NO_INIT;
    }
    mObserver->setNotifyFunc(0, nullptr, nullptr, ZuAVPLAYER_EVENT_SOURCE_RM);
    return mZuAvPlayer->RM_UnRegisterCallback(client);
}

int32_t ZuAvPlayerAdp::SYS_Init() {
    return forward(__func__, &IZuAvPlayer::SYS_Init);
}

int32_t ZuAvPlayerAdp::RegisterAcodecLib(const char* library) {
    return forward(__func__, &IZuAvPlayer::RegisterAcodecLib, library);
}

int32_t ZuAvPlayerAdp::FoundSupportDecoder(uint32_t value, uint32_t* result) {
    return forward(__func__, &IZuAvPlayer::FoundSupportDecoder, value, result);
}

int32_t ZuAvPlayerAdp::GetDefaultConfig(void* config, int type, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::GetDefaultConfig, config, type, length);
}

int32_t ZuAvPlayerAdp::Destroy(uint32_t player) {
    return forward(__func__, &IZuAvPlayer::Destroy, player);
}

int32_t ZuAvPlayerAdp::GetAttr(uint32_t player, int id, void* attribute, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::GetAttr, player, id, attribute, length);
}

int32_t ZuAvPlayerAdp::SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::SetAttr, player, id, attribute, length);
}

int32_t ZuAvPlayerAdp::GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) {
    return forward(__func__, &IZuAvPlayer::GetAdecOutFrameInfo, player, first, second);
}

int32_t ZuAvPlayerAdp::SetAdecOutBufSize(uint32_t player, uint32_t size) {
    return forward(__func__, &IZuAvPlayer::SetAdecOutBufSize, player, size);
}

int32_t ZuAvPlayerAdp::ChnOpen(uint32_t player, int channel, const void* parameters,
                               uint32_t length) {
    return forward(__func__, &IZuAvPlayer::ChnOpen, player, channel, parameters, length);
}

int32_t ZuAvPlayerAdp::ChnClose(uint32_t player, int channel) {
    return forward(__func__, &IZuAvPlayer::ChnClose, player, channel);
}

int32_t ZuAvPlayerAdp::GetBuf(uint32_t player, int buffer, uint32_t requested_bytes,
                              uint32_t value) {
    return forward(__func__, &IZuAvPlayer::GetBuf, player, buffer, requested_bytes, value);
}

int32_t ZuAvPlayerAdp::PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes,
                                uint32_t pts_ms) {
    return forward(__func__, &IZuAvPlayer::PutBufEx, player, buffer, valid_bytes, pts_ms);
}

int32_t ZuAvPlayerAdp::Start(uint32_t player, int channel, const void* option, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::Start, player, channel, option, length);
}

int32_t ZuAvPlayerAdp::Stop(uint32_t player, int channel, const void* option, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::Stop, player, channel, option, length);
}

int32_t ZuAvPlayerAdp::Pause(uint32_t player, const void* option, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::Pause, player, option, length);
}

int32_t ZuAvPlayerAdp::Resume(uint32_t player, const void* option, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::Resume, player, option, length);
}

int32_t ZuAvPlayerAdp::GetStreamInfo(uint32_t player, void* info, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::GetStreamInfo, player, info, length);
}

int32_t ZuAvPlayerAdp::SetTunnelMode(uint32_t player, int value, bool enable) {
    return forward(__func__, &IZuAvPlayer::SetTunnelMode, player, value, enable);
}

int32_t ZuAvPlayerAdp::SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                                  uint32_t value) {
    return forward(__func__, &IZuAvPlayer::SetHDRInfo, player, info, length, flag, value);
}

int32_t ZuAvPlayerAdp::GetHDRInfo(uint32_t player, void* info, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::GetHDRInfo, player, info, length);
}

int32_t ZuAvPlayerAdp::SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                                   uint32_t nSamplesPerSec, int s32BitSample) {
    return forward(__func__, &IZuAvPlayer::SetAdecAttr, player, u32AdecType, nChannels,
                   nSamplesPerSec, s32BitSample);
}

int32_t ZuAvPlayerAdp::SetSndLatency(uint32_t sound, uint32_t latency) {
    return forward(__func__, &IZuAvPlayer::SetSndLatency, sound, latency);
}

int32_t ZuAvPlayerAdp::SndInit(uint32_t sound) {
    return forward(__func__, &IZuAvPlayer::SndInit, sound);
}

int32_t ZuAvPlayerAdp::SndDeInit(uint32_t sound) {
    return forward(__func__, &IZuAvPlayer::SndDeInit, sound);
}

int32_t ZuAvPlayerAdp::GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::GetTrackDefAttr, type, attributes, length);
}

int32_t ZuAvPlayerAdp::CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                                   uint32_t length) {
    return forward(__func__, &IZuAvPlayer::CreateTrack, sound, attributes, track, length);
}

int32_t ZuAvPlayerAdp::DestroyTrack(uint32_t track) {
    return forward(__func__, &IZuAvPlayer::DestroyTrack, track);
}

int32_t ZuAvPlayerAdp::GetDelayMs(uint32_t track, uint32_t* delay_ms) {
    return forward(__func__, &IZuAvPlayer::GetDelayMs, track, delay_ms);
}

int32_t ZuAvPlayerAdp::AttachSnd(uint32_t track, uint32_t source) {
    return forward(__func__, &IZuAvPlayer::AttachSnd, track, source);
}

int32_t ZuAvPlayerAdp::DetachSnd(uint32_t track, uint32_t source) {
    return forward(__func__, &IZuAvPlayer::DetachSnd, track, source);
}

int32_t ZuAvPlayerAdp::VO_Init(int value) {
    return forward(__func__, &IZuAvPlayer::VO_Init, value);
}

int32_t ZuAvPlayerAdp::VO_DeInit() {
    return forward(__func__, &IZuAvPlayer::VO_DeInit);
}

int32_t ZuAvPlayerAdp::VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::VO_CreateWindow, attributes, window, length);
}

int32_t ZuAvPlayerAdp::VO_AttachWindow(uint32_t window, uint32_t source) {
    return forward(__func__, &IZuAvPlayer::VO_AttachWindow, window, source);
}

int32_t ZuAvPlayerAdp::VO_SetWindowEnable(uint32_t window, bool enable) {
    return forward(__func__, &IZuAvPlayer::VO_SetWindowEnable, window, enable);
}

int32_t ZuAvPlayerAdp::VO_DetachWindow(uint32_t window, uint32_t source) {
    return forward(__func__, &IZuAvPlayer::VO_DetachWindow, window, source);
}

int32_t ZuAvPlayerAdp::VO_DestroyWindow(uint32_t window) {
    return forward(__func__, &IZuAvPlayer::VO_DestroyWindow, window);
}

int32_t ZuAvPlayerAdp::FlushStream(uint32_t player, const void* option, uint32_t length) {
    return forward(__func__, &IZuAvPlayer::FlushStream, player, option, length);
}

int32_t ZuAvPlayerAdp::VO_SetRotation(uint32_t window, uint32_t rotation) {
    return forward(__func__, &IZuAvPlayer::VO_SetRotation, window, rotation);
}

int32_t ZuAvPlayerAdp::GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) {
    return forward(__func__, &IZuAvPlayer::GetAudioPlaytime, player, first, second);
}

int32_t ZuAvPlayerAdp::SndGetMsFeature(uint32_t value) {
    return forward(__func__, &IZuAvPlayer::SndGetMsFeature, value);
}

int32_t ZuAvPlayerAdp::RM_init() {
    return forward(__func__, &IZuAvPlayer::RM_init);
}

int32_t ZuAvPlayerAdp::RM_Deinit() {
    return forward(__func__, &IZuAvPlayer::RM_Deinit);
}

int32_t ZuAvPlayerAdp::CheckCloseState(uint32_t value, uint32_t* state) {
    return forward(__func__, &IZuAvPlayer::CheckCloseState, value, state);
}

}  // namespace android
