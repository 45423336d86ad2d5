#include "tests/player_client/flat_cases.h"

#include <ostream>

#include "player_client/player_functions.h"

namespace {

// Nobody follows it, on either side.
// NOLINTNEXTLINE(performance-no-int-to-ptr)
void* const the_client = reinterpret_cast<void*>(uintptr_t{0x1234});

template <typename Function>
void* as_pointer(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

int32_t ignore_player_event(int32_t /*handle*/, int32_t /*msg*/, void* /*data*/) {
    return 0;
}
int32_t ignore_rm_event(void* /*client*/, int32_t /*msg*/, int32_t /*value*/) {
    return 0;
}

std::ostream& operator<<(std::ostream& stream, const flat_case& row) {
    return stream << row.function;
}

const std::vector<flat_case>& flat_cases() {
    static const std::vector<flat_case> cases = {
        {"ZUAVPLAYER_SYS_Init", "SYS_Init", 1, 0, -1,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_SYS_Init(handle); },
         "SYS_Init"},
        {"ZUAVPLAYER_Init", "Init", 2, 0, -1,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_Init(handle); }, "Init"},
        {"ZUAVPLAYER_DeInit", "DeInit", 3, 0, -1,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_DeInit(handle); },
         "DeInit"},
        {"ZUAVPLAYER_RegisterAcodecLib", "RegisterAcodecLib", 4, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_RegisterAcodecLib(handle, with.if_given(0, "decoder.so"));
         },
         "RegisterAcodecLib decoder.so"},
        {"ZUAVPLAYER_FoundSupportDecoder", "FoundSupportDecoder", 5, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_FoundSupportDecoder(handle, 0x80000001U,
                                                   with.if_given(0, &with.first));
         },
         "FoundSupportDecoder 2147483649 given", results::one_word},
        {"ZUAVPLAYER_GetDefaultConfig", "GetDefaultConfig", 6, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetDefaultConfig(handle, with.if_given(0, with.block), -12,
                                                flat_arguments::long_length);
         },
         "GetDefaultConfig <010203040506> -12 6", results::block},
        {"ZUAVPLAYER_Create", "Create", 7, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Create(handle, with.if_given(0, with.block),
                                      with.if_given(1, &with.first), flat_arguments::long_length);
         },
         "Create <010203040506> given 6", results::one_word},
        {"ZUAVPLAYER_Destroy", "Destroy", 8, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Destroy(handle, with.if_given(0, 0x80000001U));
         },
         "Destroy 2147483649"},
        {"ZUAVPLAYER_RegisterEvent64", "RegisterEvent64", 9, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_RegisterEvent64(handle, with.if_given(0, 0x80000001U), -12,
                                               with.if_given(1, as_pointer(ignore_player_event)));
         },
         "RegisterEvent64 2147483649 -12 given"},
        {"ZUAVPLAYER_GetAttr", "GetAttr", 10, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetAttr(handle, with.if_given(0, 0x80000001U), -12,
                                       with.if_given(1, with.block), flat_arguments::long_length);
         },
         "GetAttr 2147483649 -12 <010203040506> 6", results::block},
        {"ZUAVPLAYER_SetAttr", "SetAttr", 11, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_SetAttr(handle, with.if_given(0, 0x80000001U), -12,
                                       with.if_given(1, with.block), flat_arguments::long_length);
         },
         "SetAttr 2147483649 -12 <010203040506> 6"},
        {"ZUAVPLAYER_GetAdecOutFrameInfo", "GetAdecOutFrameInfo", 12, 3, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetAdecOutFrameInfo(handle, with.if_given(0, 0x80000001U),
                                                   with.if_given(1, &with.first),
                                                   with.if_given(2, &with.second));
         },
         "GetAdecOutFrameInfo 2147483649 given given", results::two_words},
        {"ZUAVPLAYER_SetAdecOutBufSize", "SetAdecOutBufSize", 13, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_SetAdecOutBufSize(handle, with.if_given(0, 0x80000001U),
                                                 0x80000002U);
         },
         "SetAdecOutBufSize 2147483649 2147483650"},
        {"ZUAVPLAYER_ChnOpen", "ChnOpen", 14, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_ChnOpen(handle, with.if_given(0, 0x80000001U), -12, with.block,
                                       flat_arguments::long_length);
         },
         "ChnOpen 2147483649 -12 <010203040506> 6"},
        {"ZUAVPLAYER_ChnClose", "ChnClose", 15, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_ChnClose(handle, with.if_given(0, 0x80000001U), -12);
         },
         "ChnClose 2147483649 -12"},
        {"ZUAVPLAYER_GetBuf", "GetBuf", 16, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetBuf(handle, with.if_given(0, 0x80000001U), -12, 0x80000003U,
                                      0x80000004U);
         },
         "GetBuf 2147483649 -12 2147483651 2147483652"},
        {"ZUAVPLAYER_PutBufEx", "PutBufEx", 17, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_PutBufEx(handle, with.if_given(0, 0x80000001U), -12, 4, 0x80000004U);
         },
         "PutBufEx 2147483649 -12 4 2147483652 null"},
        {"ZUAVPLAYER_Start", "Start", 18, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Start(handle, with.if_given(0, 0x80000001U), -12, with.block,
                                     flat_arguments::long_length);
         },
         "Start 2147483649 -12 <010203040506> 6"},
        {"ZUAVPLAYER_Stop", "Stop", 19, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Stop(handle, with.if_given(0, 0x80000001U), -12, with.block,
                                    flat_arguments::long_length);
         },
         "Stop 2147483649 -12 <010203040506> 6"},
        {"ZUAVPLAYER_Pause", "Pause", 20, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Pause(handle, with.if_given(0, 0x80000001U), with.block,
                                     flat_arguments::long_length);
         },
         "Pause 2147483649 <010203040506> 6"},
        {"ZUAVPLAYER_Resume", "Resume", 21, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_Resume(handle, with.if_given(0, 0x80000001U), with.block,
                                      flat_arguments::long_length);
         },
         "Resume 2147483649 <010203040506> 6"},
        {"ZUAVPLAYER_GetStreamInfo", "GetStreamInfo", 22, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetStreamInfo(handle, with.if_given(0, 0x80000001U),
                                             with.if_given(1, with.block),
                                             flat_arguments::long_length);
         },
         "GetStreamInfo 2147483649 <010203040506> 6", results::block},
        {"ZUAVPLAYER_SetTunnelMode", "SetTunnelMode", 23, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_SetTunnelMode(handle, with.if_given(0, 0x80000001U), -12, 2);
         },
         "SetTunnelMode 2147483649 -12 true"},
        {"ZUAVPLAYER_SetHDRInfo", "SetHDRInfo", 24, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_SetHDRInfo(handle, with.if_given(0, 0x80000001U),
                                          with.if_given(1, with.block), flat_arguments::long_length,
                                          2, 0x80000005U);
         },
         "SetHDRInfo 2147483649 <010203040506> 6 true 2147483653"},
        {"ZUAVPLAYER_GetHDRInfo", "GetHDRInfo", 25, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetHDRInfo(handle, with.if_given(0, 0x80000001U),
                                          with.if_given(1, with.block),
                                          flat_arguments::long_length);
         },
         "GetHDRInfo 2147483649 <010203040506> 6", results::block},
        {"ZUAVPLAYER_FlushStream", "FlushStream", 45, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_FlushStream(handle, with.if_given(0, 0x80000001U),
                                           with.if_given(1, with.block),
                                           flat_arguments::long_length);
         },
         "FlushStream 2147483649 <010203040506> 6"},
        {"ZUAVPLAYER_SetAdecAttr", "SetAdecAttr", 26, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_SetAdecAttr(handle, with.if_given(0, 0x80000001U), 0x80000002U,
                                           65523, 0x80000004U, -15);
         },
         "SetAdecAttr 2147483649 2147483650 65523 2147483652 -15"},
        {"ZUAVPLAYER_DetachSnd", "DetachSnd", 35, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_DetachSnd(handle, with.if_given(0, 0x80000001U),
                                         with.if_given(1, 0x80000002U));
         },
         "DetachSnd 2147483649 2147483650"},
        {"ZUAVPLAYER_AttachSnd", "AttachSnd", 34, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_AttachSnd(handle, with.if_given(0, 0x80000001U),
                                         with.if_given(1, 0x80000002U));
         },
         "AttachSnd 2147483649 2147483650"},
        {"ZUAVPLAYER_DestroyTrack", "DestroyTrack", 32, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_DestroyTrack(handle, with.if_given(0, 0x80000001U));
         },
         "DestroyTrack 2147483649"},
        {"ZUAVPLAYER_CreateTrack", "CreateTrack", 31, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_CreateTrack(handle, 0x80000001U, with.if_given(0, with.block),
                                           with.if_given(1, &with.first),
                                           flat_arguments::long_length);
         },
         "CreateTrack 2147483649 <010203040506> given 6", results::one_word},
        {"ZUAVPLAYER_GetTrackDefAttr", "GetTrackDefAttr", 30, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetTrackDefAttr(handle, 0x80000001U, with.if_given(0, with.block),
                                               flat_arguments::long_length);
         },
         "GetTrackDefAttr 2147483649 <010203040506> 6", results::block},
        {"ZUAVPLAYER_SetSndLatency", "SetSndLatency", 27, 0, -1,
         [](void* handle, flat_arguments& /*with*/) {
             return ZUAVPLAYER_SetSndLatency(handle, 0x80000001U, 0x80000002U);
         },
         "SetSndLatency 2147483649 2147483650"},
        {"ZUAVPLAYER_GetTrackDelayMs", "GetDelayMs", 33, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetTrackDelayMs(handle, with.if_given(0, 0x80000001U),
                                               with.if_given(1, &with.first));
         },
         "GetDelayMs 2147483649 given", results::one_word},
        {"ZUAVPLAYER_SndInit", "SndInit", 28, 0, -1,
         [](void* handle, flat_arguments& /*with*/) {
             return ZUAVPLAYER_SndInit(handle, 0x80000001U);
         },
         "SndInit 2147483649"},
        {"ZUAVPLAYER_SndDeInit", "SndDeInit", 29, 0, -1,
         [](void* handle, flat_arguments& /*with*/) {
             return ZUAVPLAYER_SndDeInit(handle, 0x80000001U);
         },
         "SndDeInit 2147483649"},
        {"ZUAVPLAYER_VO_Init", "VO_Init", 36, 0, -1,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_VO_Init(handle, -11); },
         "VO_Init -11"},
        {"ZUAVPLAYER_VO_DeInit", "VO_DeInit", 37, 0, -1,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_VO_DeInit(handle); },
         "VO_DeInit"},
        {"ZUAVPLAYER_VO_CreateWindow", "VO_CreateWindow", 38, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_CreateWindow(handle, with.if_given(0, with.block),
                                               with.if_given(1, &with.first),
                                               flat_arguments::long_length);
         },
         "VO_CreateWindow <010203040506> given 6", results::one_word},
        {"ZUAVPLAYER_VO_AttachWindow", "VO_AttachWindow", 39, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_AttachWindow(handle, with.if_given(0, 0x80000001U),
                                               with.if_given(1, 0x80000002U));
         },
         "VO_AttachWindow 2147483649 2147483650"},
        {"ZUAVPLAYER_VO_SetWindowEnable", "VO_SetWindowEnable", 40, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_SetWindowEnable(handle, with.if_given(0, 0x80000001U), 2);
         },
         "VO_SetWindowEnable 2147483649 true"},
        {"ZUAVPLAYER_VO_DetachWindow", "VO_DetachWindow", 41, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_DetachWindow(handle, with.if_given(0, 0x80000001U),
                                               with.if_given(1, 0x80000002U));
         },
         "VO_DetachWindow 2147483649 2147483650"},
        {"ZUAVPLAYER_VO_DestroyWindow", "VO_DestroyWindow", 42, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_DestroyWindow(handle, with.if_given(0, 0x80000001U));
         },
         "VO_DestroyWindow 2147483649"},
        {"ZUAVPLAYER_VO_SetRotation", "VO_SetRotation", 46, 1, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_VO_SetRotation(handle, with.if_given(0, 0x80000001U), 0x80000002U);
         },
         "VO_SetRotation 2147483649 2147483650"},
        {"ZUAVPLAYER_GetAudioPlaytime", "GetAudioPlaytime", 47, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_GetAudioPlaytime(handle, 0x80000001U, with.if_given(0, &with.first),
                                                with.if_given(1, &with.second));
         },
         "GetAudioPlaytime 2147483649 given given", results::two_words},
        {"ZUAVPLAYER_SndGetMsFeature", "SndGetMsFeature", 48, 0, 0,
         [](void* handle, flat_arguments& /*with*/) {
             return ZUAVPLAYER_SndGetMsFeature(handle, 0x80000001U);
         },
         "SndGetMsFeature 2147483649"},
        {"ZUAVPLAYER_RM_Init", "RM_init", 49, 0, 0,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_RM_Init(handle); },
         "RM_init"},
        {"ZUAVPLAYER_RM_Deinit", "RM_Deinit", 50, 0, 0,
         [](void* handle, flat_arguments& /*with*/) { return ZUAVPLAYER_RM_Deinit(handle); },
         "RM_Deinit"},
        {"ZUAVPLAYER_RM_RegisterCallback", "RM_RegisterCallback", 51, 2, 0,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_RM_RegisterCallback(handle, with.if_given(0, the_client),
                                                   with.if_given(1, as_pointer(ignore_rm_event)),
                                                   0x80000003U);
         },
         "RM_RegisterCallback 4660 given 2147483651"},
        {"ZUAVPLAYER_RM_UnRegisterCallback", "RM_UnRegisterCallback", 52, 2, 0,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_RM_UnRegisterCallback(handle, with.if_given(0, the_client),
                                                     with.if_given(1, as_pointer(ignore_rm_event)));
         },
         "RM_UnRegisterCallback 4660"},
        {"ZUAVPLAYER_CheckCloseState", "CheckCloseState", 53, 2, -1,
         [](void* handle, flat_arguments& with) {
             return ZUAVPLAYER_CheckCloseState(handle, with.if_given(0, 0x80000001U),
                                               with.if_given(1, &with.first));
         },
         "CheckCloseState 2147483649 given", results::one_word},
    };
    return cases;
}
