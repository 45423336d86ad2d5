// The flat functions over the player adapter, exported under their plain names. The module's direct
// output calls some of them; the rest serve other clients of the module.
//
// `handle` is what ZUAVPLAYER_Open gave; it is valid until ZUAVPLAYER_Close. A null handle, and a
// null pointer or zero handle where the function needs one, gives -1 (a few answer 0 or NULL; said
// below) with the line "%s invalid parameter" and no call. Otherwise the adapter's result comes
// back as it is: 0, a code of the service, or a negative errno, -19 when the service was not there.
//
// Players, tracks and windows are the service's handles, sound ids the caller's choice. Lengths are
// the byte counts of the structures; the service has 32-bit lengths, and only the low half of a
// 64-bit one goes to it. Flags are true when not zero. Nothing here locks: a handle may be used
// from several threads, but not during or after its close.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Connects to the service. Stores the new handle, which the caller gives to ZUAVPLAYER_Close; also
// when the service is not there, which shows in the calls that follow. -1 for a null pointer,
// without a log line; -12 when memory is short.
int32_t ZUAVPLAYER_Open(void** handle);
// Frees the handle; does not call ZUAVPLAYER_DeInit.
int32_t ZUAVPLAYER_Close(void* handle);

int32_t ZUAVPLAYER_SYS_Init(void* handle);
// Makes the shared block too.
int32_t ZUAVPLAYER_Init(void* handle);
// Releases the shared block too.
int32_t ZUAVPLAYER_DeInit(void* handle);
int32_t ZUAVPLAYER_RegisterAcodecLib(void* handle, const char* library);
int32_t ZUAVPLAYER_FoundSupportDecoder(void* handle, uint32_t value, uint32_t* result);
// The shared block, 8192 bytes, through which stream data goes to the service; NULL for a null
// handle and where there is none.
void* ZUAVPLAYER_GetCblk(void* handle);

// Players.
int32_t ZUAVPLAYER_GetDefaultConfig(void* handle, void* config, int type, uint64_t length);
int32_t ZUAVPLAYER_Create(void* handle, const void* attributes, uint32_t* player, uint64_t length);
int32_t ZUAVPLAYER_Destroy(void* handle, uint32_t player);
// `callback` is int32_t (*)(int32_t player, int32_t msg, void* data), called on a binder thread;
// the adapter has one for all players and events.
int32_t ZUAVPLAYER_RegisterEvent64(void* handle, uint32_t player, int event, void* callback);
int32_t ZUAVPLAYER_GetAttr(void* handle, uint32_t player, int id, void* attribute, uint64_t length);
int32_t ZUAVPLAYER_SetAttr(void* handle, uint32_t player, int id, const void* attribute,
                           uint64_t length);
int32_t ZUAVPLAYER_GetAdecOutFrameInfo(void* handle, uint32_t player, uint32_t* first,
                                       uint32_t* second);
int32_t ZUAVPLAYER_SetAdecOutBufSize(void* handle, uint32_t player, uint32_t size);
int32_t ZUAVPLAYER_ChnOpen(void* handle, uint32_t player, int channel, const void* parameters,
                           uint64_t length);
int32_t ZUAVPLAYER_ChnClose(void* handle, uint32_t player, int channel);
int32_t ZUAVPLAYER_GetBuf(void* handle, uint32_t player, int buffer, uint32_t requested_bytes,
                          uint32_t value);
int32_t ZUAVPLAYER_PutBufEx(void* handle, uint32_t player, int buffer, uint32_t valid_bytes,
                            uint32_t pts_ms);
int32_t ZUAVPLAYER_Start(void* handle, uint32_t player, int channel, const void* option,
                         uint64_t length);
int32_t ZUAVPLAYER_Stop(void* handle, uint32_t player, int channel, const void* option,
                        uint64_t length);
int32_t ZUAVPLAYER_Pause(void* handle, uint32_t player, const void* option, uint64_t length);
int32_t ZUAVPLAYER_Resume(void* handle, uint32_t player, const void* option, uint64_t length);
int32_t ZUAVPLAYER_GetStreamInfo(void* handle, uint32_t player, void* info, uint64_t length);
int32_t ZUAVPLAYER_SetTunnelMode(void* handle, uint32_t player, int value, int enable);
int32_t ZUAVPLAYER_SetHDRInfo(void* handle, uint32_t player, const void* info, uint64_t length,
                              int flag, uint32_t value);
int32_t ZUAVPLAYER_GetHDRInfo(void* handle, uint32_t player, void* info, uint64_t length);
int32_t ZUAVPLAYER_FlushStream(void* handle, uint32_t player, const void* option, uint64_t length);
int32_t ZUAVPLAYER_SetAdecAttr(void* handle, uint32_t player, uint32_t u32AdecType,
                               uint16_t nChannels, uint32_t nSamplesPerSec, int s32BitSample);

// Sound outputs and their tracks.
int32_t ZUAVPLAYER_DetachSnd(void* handle, uint32_t track, uint32_t source);
int32_t ZUAVPLAYER_AttachSnd(void* handle, uint32_t track, uint32_t source);
int32_t ZUAVPLAYER_DestroyTrack(void* handle, uint32_t track);
int32_t ZUAVPLAYER_CreateTrack(void* handle, uint32_t sound, const void* attributes,
                               uint32_t* track, uint64_t length);
int32_t ZUAVPLAYER_GetTrackDefAttr(void* handle, uint32_t type, void* attributes, uint64_t length);
int32_t ZUAVPLAYER_SetSndLatency(void* handle, uint32_t sound, uint32_t latency);
int32_t ZUAVPLAYER_GetTrackDelayMs(void* handle, uint32_t track, uint32_t* delay_ms);
int32_t ZUAVPLAYER_SndInit(void* handle, uint32_t sound);
int32_t ZUAVPLAYER_SndDeInit(void* handle, uint32_t sound);

// Video output.
int32_t ZUAVPLAYER_VO_Init(void* handle, int value);
int32_t ZUAVPLAYER_VO_DeInit(void* handle);
int32_t ZUAVPLAYER_VO_CreateWindow(void* handle, const void* attributes, uint32_t* window,
                                   uint64_t length);
int32_t ZUAVPLAYER_VO_AttachWindow(void* handle, uint32_t window, uint32_t source);
int32_t ZUAVPLAYER_VO_SetWindowEnable(void* handle, uint32_t window, int enable);
int32_t ZUAVPLAYER_VO_DetachWindow(void* handle, uint32_t window, uint32_t source);
int32_t ZUAVPLAYER_VO_DestroyWindow(void* handle, uint32_t window);
int32_t ZUAVPLAYER_VO_SetRotation(void* handle, uint32_t window, uint32_t rotation);

int32_t ZUAVPLAYER_GetAudioPlaytime(void* handle, uint32_t player, uint32_t* first,
                                    uint32_t* second);

// These five answer 0 for invalid arguments. `notify` is
// int32_t (*)(void* client, int32_t msg, int32_t value), called on a binder thread.
int32_t ZUAVPLAYER_SndGetMsFeature(void* handle, uint32_t value);
int32_t ZUAVPLAYER_RM_Init(void* handle);
int32_t ZUAVPLAYER_RM_Deinit(void* handle);
int32_t ZUAVPLAYER_RM_RegisterCallback(void* handle, void* client, void* notify, uint32_t value);
int32_t ZUAVPLAYER_RM_UnRegisterCallback(void* handle, void* client, void* notify);

int32_t ZUAVPLAYER_CheckCloseState(void* handle, uint32_t value, uint32_t* state);

#ifdef __cplusplus
}
#endif
