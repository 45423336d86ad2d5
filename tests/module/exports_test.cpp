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
    const struct {
        const char *prefix, *names;
    } rows[] = {
        {"", "HMI data_write get_platform_property pcm_config_ai_low_latency"},
        {"ZUAVPLAYER_",
         "AttachSnd CheckCloseState ChnClose ChnOpen Close Create CreateTrack "
         "DeInit Destroy DestroyTrack DetachSnd FlushStream FoundSupportDecoder "
         "GetAdecOutFrameInfo GetAttr GetAudioPlaytime GetBuf GetCblk "
         "GetDefaultConfig GetHDRInfo GetStreamInfo GetTrackDefAttr GetTrackDelayMs "
         "Init Open Pause PutBufEx RM_Deinit RM_Init RM_RegisterCallback "
         "RM_UnRegisterCallback RegisterAcodecLib RegisterEvent64 Resume SYS_Init "
         "SetAdecAttr SetAdecOutBufSize SetAttr SetHDRInfo SetSndLatency "
         "SetTunnelMode SndDeInit SndGetMsFeature SndInit Start Stop "
         "VO_AttachWindow VO_CreateWindow VO_DeInit VO_DestroyWindow "
         "VO_DetachWindow VO_Init VO_SetRotation VO_SetWindowEnable"},
        {"custom_", "close init open"},
        {"gbEnable", "DataPath Pts Trace XrunCheck"},
        {"hal_avplay_",
         "create create_ext deinitAvplayer deinitsnd destory destoryaudio "
         "destroy_ext drain flush getstamp initAvplayer initsnd pause resume write"},
        {"hdo_",
         "close create create_hwsync_source deinit destroy destroy_hwsync_source "
         "drain flush get_buffer_size get_latency get_tstamp init open pause resume "
         "write"},
        {"hpi_", "close create destroy open read"},
        {"hpo_", "close create destroy get_buffer_size get_latency get_tstamp open write"},
        {"utils_", "check_valid_header findheader get_framepts get_framesize"},
    };
    std::set<std::string> expected;
    for (const auto& row : rows) {
        std::istringstream names(row.names);
        for (std::string name; names >> name;) {
            expected.insert(row.prefix + name);
        }
    }
    EXPECT_EQ(exported, expected);
}
