#include <cstdio>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

TEST(Exports, AreExactlyThePublishedNames) {
    const std::string command =
        std::string(CORVEX_NM) + " -D --defined-only --format=posix '" CORVEX_MODULE_FILE "'";
    FILE* const pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> exported;
    char line[512];
    while (fgets(line, sizeof(line), pipe) != nullptr) {
        std::string name;
        std::istringstream(line) >> name;
        exported.insert(name);
    }
    ASSERT_EQ(pclose(pipe), 0);
    const std::set<std::string> expected = {
        "HMI",
        "ZUAVPLAYER_AttachSnd",
        "ZUAVPLAYER_CheckCloseState",
        "ZUAVPLAYER_ChnClose",
        "ZUAVPLAYER_ChnOpen",
        "ZUAVPLAYER_Close",
        "ZUAVPLAYER_Create",
        "ZUAVPLAYER_CreateTrack",
        "ZUAVPLAYER_DeInit",
        "ZUAVPLAYER_Destroy",
        "ZUAVPLAYER_DestroyTrack",
        "ZUAVPLAYER_DetachSnd",
        "ZUAVPLAYER_FlushStream",
        "ZUAVPLAYER_FoundSupportDecoder",
        "ZUAVPLAYER_GetAdecOutFrameInfo",
        "ZUAVPLAYER_GetAttr",
        "ZUAVPLAYER_GetAudioPlaytime",
        "ZUAVPLAYER_GetBuf",
        "ZUAVPLAYER_GetCblk",
        "ZUAVPLAYER_GetDefaultConfig",
        "ZUAVPLAYER_GetHDRInfo",
        "ZUAVPLAYER_GetStreamInfo",
        "ZUAVPLAYER_GetTrackDefAttr",
        "ZUAVPLAYER_GetTrackDelayMs",
        "ZUAVPLAYER_Init",
        "ZUAVPLAYER_Open",
        "ZUAVPLAYER_Pause",
        "ZUAVPLAYER_PutBufEx",
        "ZUAVPLAYER_RM_Deinit",
        "ZUAVPLAYER_RM_Init",
        "ZUAVPLAYER_RM_RegisterCallback",
        "ZUAVPLAYER_RM_UnRegisterCallback",
        "ZUAVPLAYER_RegisterAcodecLib",
        "ZUAVPLAYER_RegisterEvent64",
        "ZUAVPLAYER_Resume",
        "ZUAVPLAYER_SYS_Init",
        "ZUAVPLAYER_SetAdecAttr",
        "ZUAVPLAYER_SetAdecOutBufSize",
        "ZUAVPLAYER_SetAttr",
        "ZUAVPLAYER_SetHDRInfo",
        "ZUAVPLAYER_SetSndLatency",
        "ZUAVPLAYER_SetTunnelMode",
        "ZUAVPLAYER_SndDeInit",
        "ZUAVPLAYER_SndGetMsFeature",
        "ZUAVPLAYER_SndInit",
        "ZUAVPLAYER_Start",
        "ZUAVPLAYER_Stop",
        "ZUAVPLAYER_VO_AttachWindow",
        "ZUAVPLAYER_VO_CreateWindow",
        "ZUAVPLAYER_VO_DeInit",
        "ZUAVPLAYER_VO_DestroyWindow",
        "ZUAVPLAYER_VO_DetachWindow",
        "ZUAVPLAYER_VO_Init",
        "ZUAVPLAYER_VO_SetRotation",
        "ZUAVPLAYER_VO_SetWindowEnable",
        "custom_init",
        "gbEnableDataPath",
        "gbEnablePts",
        "gbEnableTrace",
        "gbEnableXrunCheck",
        "get_platform_property",
        "hdo_close",
        "hdo_create",
        "hdo_create_hwsync_source",
        "hdo_deinit",
        "hdo_destroy",
        "hdo_destroy_hwsync_source",
        "hdo_drain",
        "hdo_flush",
        "hdo_get_buffer_size",
        "hdo_get_latency",
        "hdo_get_tstamp",
        "hdo_init",
        "hdo_open",
        "hdo_pause",
        "hdo_resume",
        "hdo_write",
        "hpo_close",
        "hpo_create",
        "hpo_destroy",
        "hpo_get_buffer_size",
        "hpo_get_latency",
        "hpo_get_tstamp",
        "hpo_open",
        "hpo_write",
    };
    EXPECT_EQ(exported, expected);
}
