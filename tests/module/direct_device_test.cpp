// The device's connection to the player service, and the AV-sync source that it holds there.

#include "direct/avplay_connection.h"
#include "direct/hdo.h"
#include "records/device.h"
#include "tests/support/direct_fixture.h"

namespace {

constexpr int32_t refused = static_cast<int32_t>(0x80140005);

class DirectDevice : public direct_test {
  protected:
    std::string hw_av_sync() {
        char* const text = dev->get_parameters(dev, "hw_av_sync");
        std::string answer = text;
        free(text);
        return answer;
    }
};

const lines connecting = {"Open",
                          "SYS_Init",
                          "Init",
                          "RegisterAcodecLib libZU.AUDIO.DOLBYPLUS.decode.so",
                          "RegisterAcodecLib libZU.AUDIO.BLURAYLPCM.decode.so",
                          "RegisterAcodecLib libZU.AUDIO.FFMPEG_ADEC.decode.so",
                          "RegisterAcodecLib libZU.AUDIO.PCM.decode.so",
                          "GetCblk",
                          "SndInit 0"};

}  // namespace

TEST_F(DirectDevice, ConnectsOnceAndDisconnectsWithTheLastClose) {
    player_service().results["RegisterAcodecLib"] = refused;  // only logged
    open_device();
    open_device();
    EXPECT_EQ(take_calls(), connecting);
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_avplay"),
              (lines{"Register AC3 licence lib ret(0x80140005)",
                     "Register BLURAYLPCM decode lib ret(0x80140005)",
                     "Register FFMPEG decode lib ret(0x80140005)",
                     "Register PCM decode lib ret(0x80140005)"}));
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_hdo"), (lines{"hdo_init success"}));
    EXPECT_TRUE(to_hal_device(dev)->hdo_supported);
    close_device(dev);
    EXPECT_EQ(take_calls(), lines{});
    close_device(dev);
    EXPECT_EQ(take_calls(), (lines{"SndDeInit 0", "DeInit", "Close"}));
    EXPECT_EQ(player_connection(), nullptr);
    EXPECT_EQ(player_block(), nullptr);
}

TEST_F(DirectDevice, OpensWithoutDirectOutputWhereAStepOfConnectingFails) {
    const struct {
        size_t step;  // of `connecting`
        bool no_block;
        lines unwound;
        std::string said;
    } rows[] = {
        {1, false, {}, "Call ZUAVPLAYER_Get failed(0x80140005)"},
        {2, false, {"Close"}, "Call ZUAVPLAYER_SYS_Init failed (0x80140005)"},
        {3, false, {"Close"}, "Call ZUAVPLAYER_Init failed (0x80140005)\n"},
        {8, true, {"DeInit", "Close"}, "Call ZUAVPLAYER_GetCblk failed"},
        {9, false, {"DeInit", "Close"}, "Call ZUAVPLAYER_SndInit ZU_KRX_SND_0 failed (0x80140005)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.said);
        reset_player_service();
        player_service().failing_call = static_cast<int>(row.step);
        player_service().failing_code = row.no_block ? 0 : refused;
        player_service().no_block = row.no_block;
        log.clear();
        open_device();
        EXPECT_EQ(last_result, 0);
        lines expected(connecting.begin(), connecting.begin() + static_cast<long>(row.step));
        expected.insert(expected.end(), row.unwound.begin(), row.unwound.end());
        EXPECT_EQ(take_calls(), expected);
        EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"), (lines{row.said}));
        const std::string code = row.no_block ? "0xffffffff" : "0x80140005";
        const std::string step = row.step == 9 ? "initSnd" : "initAvplayer";
        EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"),
                  (lines{step + " failed(" + code + ") not support hdo"}));
        EXPECT_EQ(log.count("hdo_init failed(" + code + ")"), 1);
        EXPECT_EQ(open_stream(passthru_flags), nullptr);
        EXPECT_EQ(hw_av_sync(), "");
        close_device(dev);
        EXPECT_EQ(take_calls(), lines{});  // nothing to call, with nothing open
        EXPECT_EQ(player_service().live_handles, 0);
    }
}

TEST_F(DirectDevice, AServiceThatDoesNotAnswerTheEndIsLeftAtTheNextOpen) {
    open_device();
    player_service().results["SndDeInit"] = player_service().results["DeInit"] = -32;
    take_calls();
    close_device(dev);
    EXPECT_EQ(last_result, 0);
    EXPECT_EQ(take_calls(), (lines{"SndDeInit 0", "DeInit"}));
    EXPECT_EQ(player_block(), nullptr);  // the client has released it

    player_service().results.clear();
    open_device();
    lines expected = connecting;
    expected.insert(expected.begin(), "Close");
    EXPECT_EQ(take_calls(), expected);
    EXPECT_EQ(player_service().live_handles, 1);
}

TEST_F(DirectDevice, HoldsOneAvSyncSourceAndUsesNoClosedHandleToGiveItBack) {
    open_device();
    take_calls();
    player_service().results["Create"] = refused;
    EXPECT_EQ(hw_av_sync(), "");
    EXPECT_EQ(to_hal_device(dev)->hw_sync_id, hw_sync_id_none);
    player_service().results.clear();
    take_calls();
    EXPECT_EQ(hw_av_sync(), "hw_av_sync=113");
    EXPECT_EQ(hw_av_sync(), "hw_av_sync=113");
    EXPECT_EQ(take_calls(), (lines{"GetDefaultConfig 1 10", "Create 10 {a0 a1 a2 a3}"}));

    log.clear();
    close_device(dev);
    EXPECT_EQ(take_calls(), (lines{"SndDeInit 0", "DeInit", "Close"}));
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hdo", "hal_avplay_destroy_ext failed(0xffffffff)"),
        1);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "hal_avplay_destroy_ext failed\n"), 1);
}

TEST_F(DirectDevice, GivesASourceBackByItsId) {
    open_device();
    take_calls();
    EXPECT_EQ(hdo_destroy_hwsync_source(0x1234), 0);
    EXPECT_EQ(take_calls(), (lines{"Destroy 1234"}));
    EXPECT_EQ(hdo_create_hwsync_source(nullptr), -1);
}
