#include "player_client/player_functions.h"

#include <errno.h>
#include <new>

#include "diag/log.h"
#include "player_client/player_adapter.h"

using android::ZuAvPlayerAdp;

namespace {

constexpr const char* log_tag = "ZUAVPLAYER_ADP";

// An argument that may be neither null nor zero.
template <typename T>
struct needed {
    explicit needed(T argument) : value(argument) {}
    T value;
};

template <typename T>
bool is_given(const needed<T>& argument) {
    return argument.value != T{};
}
template <typename T>
bool is_given(const T& /*argument*/) {
    return true;
}

template <typename T>
T value_of(const needed<T>& argument) {
    return argument.value;
}
template <typename T>
T value_of(const T& argument) {
    return argument;
}

uint32_t low_half(uint64_t length) {
    return static_cast<uint32_t>(length);
}

template <typename... Arguments>
bool all_given(const char* name, const Arguments&... arguments) {
    if ((is_given(arguments) && ...)) {
        return true;
    }
    HAL_LOGE("%s invalid parameter", name);
    return false;
}

// The adapter's `method`, or Invalid where a needed argument is missing.
template <int32_t Invalid, typename Method, typename... Arguments>
int32_t call_or(const char* name, void* handle, Method method, Arguments... arguments) {
    if (!all_given(name, needed(handle), arguments...)) {
        return Invalid;
    }
    return (static_cast<ZuAvPlayerAdp*>(handle)->*method)(value_of(arguments)...);
}

template <typename Method, typename... Arguments>
int32_t call(const char* name, void* handle, Method method, Arguments... arguments) {
    return call_or<-1>(name, handle, method, arguments...);
}

}  // namespace

int32_t ZUAVPLAYER_Open(void** handle) {
    if (handle == nullptr) {
        return -1;
    }
    *handle = new (std::nothrow) ZuAvPlayerAdp;
    return *handle != nullptr ? 0 : -ENOMEM;
}

int32_t ZUAVPLAYER_Close(void* handle) {
    if (!all_given(__func__, needed(handle))) {
        return -1;
    }
    delete static_cast<ZuAvPlayerAdp*>(handle);
    return 0;
}

void* ZUAVPLAYER_GetCblk(void* handle) {
    return all_given(__func__, needed(handle)) ? static_cast<ZuAvPlayerAdp*>(handle)->GetCblk()
                                               : nullptr;
}

int32_t ZUAVPLAYER_SYS_Init(void* handle) {
    return call(__func__, handle, &ZuAvPlayerAdp::SYS_Init);
}

int32_t ZUAVPLAYER_Init(void* handle) {
    return call(__func__, handle, &ZuAvPlayerAdp::Init);
}

int32_t ZUAVPLAYER_DeInit(void* handle) {
    return call(__func__, handle, &ZuAvPlayerAdp::DeInit);
}

int32_t ZUAVPLAYER_RegisterAcodecLib(void* handle, const char* library) {
    return call(__func__, handle, &ZuAvPlayerAdp::RegisterAcodecLib, needed(library));
}

int32_t ZUAVPLAYER_FoundSupportDecoder(void* handle, uint32_t value, uint32_t* result) {
    return call(__func__, handle, &ZuAvPlayerAdp::FoundSupportDecoder, value, needed(result));
}

int32_t ZUAVPLAYER_GetDefaultConfig(void* handle, void* config, int type, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetDefaultConfig, needed(config), type,
                low_half(length));
}

int32_t ZUAVPLAYER_Create(void* handle, const void* attributes, uint32_t* player, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::Create, needed(attributes), needed(player),
                low_half(length));
}

int32_t ZUAVPLAYER_Destroy(void* handle, uint32_t player) {
    return call(__func__, handle, &ZuAvPlayerAdp::Destroy, needed(player));
}

int32_t ZUAVPLAYER_RegisterEvent64(void* handle, uint32_t player, int event, void* callback) {
    return call(__func__, handle, &ZuAvPlayerAdp::RegisterEvent64, needed(player), event,
                needed(callback));
}

int32_t ZUAVPLAYER_GetAttr(void* handle, uint32_t player, int id, void* attribute,
                           uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetAttr, needed(player), id, needed(attribute),
                low_half(length));
}

int32_t ZUAVPLAYER_SetAttr(void* handle, uint32_t player, int id, const void* attribute,
                           uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetAttr, needed(player), id, needed(attribute),
                low_half(length));
}

int32_t ZUAVPLAYER_GetAdecOutFrameInfo(void* handle, uint32_t player, uint32_t* first,
                                       uint32_t* second) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetAdecOutFrameInfo, needed(player),
                needed(first), needed(second));
}

int32_t ZUAVPLAYER_SetAdecOutBufSize(void* handle, uint32_t player, uint32_t size) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetAdecOutBufSize, needed(player), size);
}

int32_t ZUAVPLAYER_ChnOpen(void* handle, uint32_t player, int channel, const void* parameters,
                           uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::ChnOpen, needed(player), channel, parameters,
                low_half(length));
}

int32_t ZUAVPLAYER_ChnClose(void* handle, uint32_t player, int channel) {
    return call(__func__, handle, &ZuAvPlayerAdp::ChnClose, needed(player), channel);
}

int32_t ZUAVPLAYER_GetBuf(void* handle, uint32_t player, int buffer, uint32_t requested_bytes,
                          uint32_t value) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetBuf, needed(player), buffer, requested_bytes,
                value);
}

int32_t ZUAVPLAYER_PutBufEx(void* handle, uint32_t player, int buffer, uint32_t valid_bytes,
                            uint32_t pts_ms) {
    return call(__func__, handle, &ZuAvPlayerAdp::PutBufEx, needed(player), buffer, valid_bytes,
                pts_ms);
}

int32_t ZUAVPLAYER_Start(void* handle, uint32_t player, int channel, const void* option,
                         uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::Start, needed(player), channel, option,
                low_half(length));
}

int32_t ZUAVPLAYER_Stop(void* handle, uint32_t player, int channel, const void* option,
                        uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::Stop, needed(player), channel, option,
                low_half(length));
}

int32_t ZUAVPLAYER_Pause(void* handle, uint32_t player, const void* option, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::Pause, needed(player), option, low_half(length));
}

int32_t ZUAVPLAYER_Resume(void* handle, uint32_t player, const void* option, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::Resume, needed(player), option, low_half(length));
}

int32_t ZUAVPLAYER_GetStreamInfo(void* handle, uint32_t player, void* info, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetStreamInfo, needed(player), needed(info),
                low_half(length));
}

int32_t ZUAVPLAYER_SetTunnelMode(void* handle, uint32_t player, int value, int enable) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetTunnelMode, needed(player), value,
                enable != 0);
}

int32_t ZUAVPLAYER_SetHDRInfo(void* handle, uint32_t player, const void* info, uint64_t length,
                              int flag, uint32_t value) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetHDRInfo, needed(player), needed(info),
                low_half(length), flag != 0, value);
}

int32_t ZUAVPLAYER_GetHDRInfo(void* handle, uint32_t player, void* info, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetHDRInfo, needed(player), needed(info),
                low_half(length));
}

int32_t ZUAVPLAYER_FlushStream(void* handle, uint32_t player, const void* option, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::FlushStream, needed(player), needed(option),
                low_half(length));
}

int32_t ZUAVPLAYER_SetAdecAttr(void* handle, uint32_t player, uint32_t u32AdecType,
                               uint16_t nChannels, uint32_t nSamplesPerSec, int s32BitSample) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetAdecAttr, needed(player), u32AdecType,
                nChannels, nSamplesPerSec, s32BitSample);
}

int32_t ZUAVPLAYER_DetachSnd(void* handle, uint32_t track, uint32_t source) {
    return call(__func__, handle, &ZuAvPlayerAdp::DetachSnd, needed(track), needed(source));
}

int32_t ZUAVPLAYER_AttachSnd(void* handle, uint32_t track, uint32_t source) {
    return call(__func__, handle, &ZuAvPlayerAdp::AttachSnd, needed(track), needed(source));
}

int32_t ZUAVPLAYER_DestroyTrack(void* handle, uint32_t track) {
    return call(__func__, handle, &ZuAvPlayerAdp::DestroyTrack, needed(track));
}

int32_t ZUAVPLAYER_CreateTrack(void* handle, uint32_t sound, const void* attributes,
                               uint32_t* track, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::CreateTrack, sound, needed(attributes),
                needed(track), low_half(length));
}

int32_t ZUAVPLAYER_GetTrackDefAttr(void* handle, uint32_t type, void* attributes, uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetTrackDefAttr, type, needed(attributes),
                low_half(length));
}

int32_t ZUAVPLAYER_SetSndLatency(void* handle, uint32_t sound, uint32_t latency) {
    return call(__func__, handle, &ZuAvPlayerAdp::SetSndLatency, sound, latency);
}

int32_t ZUAVPLAYER_GetTrackDelayMs(void* handle, uint32_t track, uint32_t* delay_ms) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetDelayMs, needed(track), needed(delay_ms));
}

int32_t ZUAVPLAYER_SndInit(void* handle, uint32_t sound) {
    return call(__func__, handle, &ZuAvPlayerAdp::SndInit, sound);
}

int32_t ZUAVPLAYER_SndDeInit(void* handle, uint32_t sound) {
    return call(__func__, handle, &ZuAvPlayerAdp::SndDeInit, sound);
}

int32_t ZUAVPLAYER_VO_Init(void* handle, int value) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_Init, value);
}

int32_t ZUAVPLAYER_VO_DeInit(void* handle) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_DeInit);
}

int32_t ZUAVPLAYER_VO_CreateWindow(void* handle, const void* attributes, uint32_t* window,
                                   uint64_t length) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_CreateWindow, needed(attributes),
                needed(window), low_half(length));
}

int32_t ZUAVPLAYER_VO_AttachWindow(void* handle, uint32_t window, uint32_t source) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_AttachWindow, needed(window), needed(source));
}

int32_t ZUAVPLAYER_VO_SetWindowEnable(void* handle, uint32_t window, int enable) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_SetWindowEnable, needed(window), enable != 0);
}

int32_t ZUAVPLAYER_VO_DetachWindow(void* handle, uint32_t window, uint32_t source) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_DetachWindow, needed(window), needed(source));
}

int32_t ZUAVPLAYER_VO_DestroyWindow(void* handle, uint32_t window) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_DestroyWindow, needed(window));
}

int32_t ZUAVPLAYER_VO_SetRotation(void* handle, uint32_t window, uint32_t rotation) {
    return call(__func__, handle, &ZuAvPlayerAdp::VO_SetRotation, needed(window), rotation);
}

int32_t ZUAVPLAYER_GetAudioPlaytime(void* handle, uint32_t player, uint32_t* first,
                                    uint32_t* second) {
    return call(__func__, handle, &ZuAvPlayerAdp::GetAudioPlaytime, player, needed(first),
                needed(second));
}

int32_t ZUAVPLAYER_SndGetMsFeature(void* handle, uint32_t value) {
    return call_or<0>(__func__, handle, &ZuAvPlayerAdp::SndGetMsFeature, value);
}

int32_t ZUAVPLAYER_RM_Init(void* handle) {
    return call_or<0>(__func__, handle, &ZuAvPlayerAdp::RM_init);
}

int32_t ZUAVPLAYER_RM_Deinit(void* handle) {
    return call_or<0>(__func__, handle, &ZuAvPlayerAdp::RM_Deinit);
}

int32_t ZUAVPLAYER_RM_RegisterCallback(void* handle, void* client, void* notify, uint32_t value) {
    return call_or<0>(__func__, handle, &ZuAvPlayerAdp::RM_RegisterCallback, needed(client),
                      needed(notify), value);
}

int32_t ZUAVPLAYER_RM_UnRegisterCallback(void* handle, void* client, void* notify) {
    return call_or<0>(__func__, handle, &ZuAvPlayerAdp::RM_UnRegisterCallback, needed(client),
                      needed(notify));
}

int32_t ZUAVPLAYER_CheckCloseState(void* handle, uint32_t value, uint32_t* state) {
    return call(__func__, handle, &ZuAvPlayerAdp::CheckCloseState, needed(value), needed(state));
}
