// What is built in the player service for a stream, and how it comes apart.

#include <cerrno>

#include "diag/debug_switches.h"
#include "direct/avplay_player.h"
#include "direct/avplay_session_setup.h"
#include "direct/hdo.h"
#include "tests/support/direct_fixture.h"

namespace {

constexpr int32_t refused = static_cast<int32_t>(0x80140003);
constexpr const char* refused_text = "0x80140003";

class DirectSetup : public direct_test {};

std::string hex(uint32_t value) {
    char text[16];
    snprintf(text, sizeof(text), "%x", value);
    return text;
}

lines concat(lines first, const lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

TEST_F(DirectSetup, BuildsATunnelOnTheDevicesAvSyncSource) {
    player_service().audio_buffer_bytes = 4096;
    struct audio_stream_out* const stream = open_direct(tunnel_flags);
    session_of(stream)->last_pts = 5;
    write(stream, "");
    EXPECT_EQ(take_calls(),
              (lines{"ChnOpen 71 1 null 0", "GetTrackDefAttr 0 18",
                     "CreateTrack 0 18 {a0 a1 a2 a3 41 1e}", "AttachSnd 91 71", "GetAttr 71 0 10",
                     "SetAdecOutBufSize 71 2", "SetAdecAttr 71 81f01010 2 bb80 0",
                     "GetAttr 71 6 2c", "SetAttr 71 6 2c {1 a1 a2 a3 a4 a5 1 a7 a8 a9 aa}",
                     "SetSndLatency 0 1e", "Start 71 1 null 0"}));
    EXPECT_EQ(session_of(stream)->last_pts, 5U);  // kept by the set-up
    EXPECT_EQ(standby(stream), 0);
    EXPECT_EQ(take_calls(), (lines{"Stop 71 1 {0 1} 8", "DetachSnd 91 71", "DestroyTrack 91",
                                   "ChnClose 71 1", "SetSndLatency 0 28"}));
    close_stream(stream);
    EXPECT_EQ(take_calls(), lines{});
    close_device(dev);
    EXPECT_EQ(take_calls(), (lines{"SndDeInit 0", "DeInit", "Close"}));
}

TEST_F(DirectSetup, BuildsAndDestroysAPlayerForEachFormatOfPassthrough) {
    const struct {
        audio_format_t format;
        uint32_t mask;
        uint32_t reported_bytes;
        lines set_calls;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT,
         AUDIO_CHANNEL_OUT_STEREO,
         20480,
         {"SetAdecOutBufSize 71 8", "SetAdecAttr 71 81000000 2 bb80 0"}},
        {AUDIO_FORMAT_PCM_16_BIT,
         AUDIO_CHANNEL_OUT_5POINT1,
         4096,
         {"SetAttr 71 0 10 {a0 a1 a2 5000}", "SetAdecOutBufSize 71 8",
          "SetAdecAttr 71 81000000 6 bb80 0"}},
        {AUDIO_FORMAT_AC3,
         AUDIO_CHANNEL_OUT_STEREO,
         20480,
         {"SetAttr 71 0 10 {a0 a1 a2 1000}", "SetAdecOutBufSize 71 2",
          "SetAdecAttr 71 81f01010 2 bb80 0"}},
        {AUDIO_FORMAT_E_AC3,
         AUDIO_CHANNEL_OUT_STEREO,
         4096,
         {"SetAdecOutBufSize 71 2", "SetAdecAttr 71 81f01010 2 bb80 0"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        reset_player_service();
        player_service().audio_buffer_bytes = row.reported_bytes;
        struct audio_stream_out* const stream = open_direct(passthru_flags, row.mask, row.format);
        write(stream, "");
        EXPECT_EQ(take_calls(),
                  concat(concat({"GetDefaultConfig 1 10", "Create 10 {a0 a1 a2 a3}",
                                 "ChnOpen 71 1 null 0", "GetTrackDefAttr 0 18",
                                 "CreateTrack 0 18 {a0 a1 a2 a3 41 1e}", "AttachSnd 91 71",
                                 "GetAttr 71 0 10"},
                                row.set_calls),
                         {"SetSndLatency 0 1e", "Start 71 1 null 0", "Resume 71 null 0"}));
        session_of(stream)->last_pts = 9;
        standby(stream);
        EXPECT_EQ(session_of(stream)->last_pts, 9U);  // only a tunnel's is reset
        const lines closing = {"Stop 71 1 {0 1} 8", "DetachSnd 91 71",    "DestroyTrack 91",
                               "ChnClose 71 1",     "SetSndLatency 0 28", "Destroy 71"};
        EXPECT_EQ(take_calls(), closing);
        EXPECT_EQ(session_of(stream)->avplay_handle, avplay_handle_none);
        session_of(stream)->raw_data_left = session_of(stream)->tmp_len = 1;
        write(stream, "");  // and anew, with new handles and nothing carried over
        EXPECT_EQ(take_calls().back(), "Resume 72 null 0");
        EXPECT_EQ(session_of(stream)->raw_data_left, 0U);
        EXPECT_EQ(session_of(stream)->tmp_len, 0U);
        EXPECT_EQ(session_of(stream)->avplay_handle, 0x72U);
        EXPECT_EQ(session_of(stream)->track_handle, 0x92U);
        close_stream(stream);
        close_device(dev);
    }
}

TEST_F(DirectSetup, FailsAtEachCallInTurnAndUnwindsInReverse) {
    // How far there is something to undo when the call fails, and what is said of it.
    const struct {
        const char* call;
        int level;  // -1 where it is no failure
        const char* said;
    } steps[] = {
        {"GetDefaultConfig", 0, "Call ZUAVPLAYER_GetDefaultConfig failed (#)"},
        {"Create", 0, "Call ZUAVPLAYER_Create failed (#)"},
        {"ChnOpen", 1, "call avplay_openaudiochan failed #"},
        {"GetTrackDefAttr", 2,
         "Call ZUAVPLAYER_GetTrackDefAttr failed (#) | call createtrack failed #"},
        {"CreateTrack", 2, "Call ZUAVPLAYER_CreateTrack failed (#) | call createtrack failed #"},
        {"AttachSnd", 3, "call ZUAVPLAYER_AttachSnd failed #"},
        {"GetAttr 0", 4,
         "Call ZUAVPLAYER_GetAttr failed (#) | Call setadecbuffersize failed (#) | call setattr "
         "failed #"},
        {"SetAttr 0", 4,
         "Call ZUAVPLAYER_SetAttr STREAM_MODE failed (#) | Call setadecbuffersize failed (#) | "
         "call setattr failed #"},
        {"SetAdecOutBufSize", 4,
         "Call ZUAVPLAYER_SetAdecOutBufSize failed (#) | Call setadecbuffersize failed (#) | call "
         "setattr failed #"},
        {"SetAdecAttr", -1, ""},
        {"GetAttr 6", 4,
         "Call ZUAVPLAYER_GetAttr failed (#) | Call setsyncattr failed (#) | call setattr failed "
         "#"},
        {"SetAttr 6", 4,
         "Call ZUAVPLAYER_SetAttr SYNC failed (#) | Call setsyncattr failed (#) | call setattr "
         "failed #"},
        {"SetSndLatency", 4,
         "Call ZUAVPLAYER_SetSndLatency failed (#) | Call setsndattr failed (#) | call setattr "
         "failed #"},
        {"Start", 4, "call ZUAVPLAYER_Start failed #"},
    };
    for (const unsigned flags : {tunnel_flags, passthru_flags}) {
        reset_player_service();
        player_service().audio_buffer_bytes = 1;
        struct audio_stream_out* const stream =
            open_direct(flags, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_PCM_16_BIT);
        int failing = 0;
        for (const auto& step : steps) {
            const bool sync_only = std::string(step.call).back() == '6';
            const bool player_only = step.level == 0;
            if (flags == tunnel_flags ? player_only : sync_only) {
                continue;
            }
            SCOPED_TRACE(step.call);
            ++failing;
            take_calls();
            log.clear();
            player_service().failing_call = failing;
            player_service().failing_code = refused;
            const int32_t result = hdo_open(session_of(stream));
            const lines calls = take_calls();
            if (step.level < 0) {
                EXPECT_EQ(result, 0);
                hdo_close(session_of(stream));
                continue;
            }
            EXPECT_EQ(result, refused);
            ASSERT_GE(calls.size(), static_cast<size_t>(failing));
            const std::string player = hex(session_of(stream)->avplay_handle);
            const std::string track = hex(session_of(stream)->track_handle);
            const lines undoing = {"DetachSnd " + track + " " + player, "DestroyTrack " + track,
                                   "ChnClose " + player + " 1", "Destroy " + player};
            lines undone(undoing.end() - step.level, undoing.end());
            if (flags == tunnel_flags) {
                undone.pop_back();  // the AV-sync source stays
            }
            EXPECT_EQ(calls[static_cast<size_t>(failing) - 1].rfind(
                          std::string(step.call).substr(0, std::string(step.call).find(' ')), 0),
                      0U);
            EXPECT_EQ(lines(calls.begin() + failing, calls.end()), undone);
            lines said;
            for (std::string line : logged(ANDROID_LOG_ERROR, "audio_hal_avplay")) {
                const size_t code = line.find(refused_text);
                if (code != std::string::npos) {
                    said.push_back(line.replace(code, 10, "#"));
                }
            }
            EXPECT_EQ(joined(said), step.said);
            EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"),
                      (lines{"hal_avplay_create failed with(0x80140003)"}));
        }
        player_service().failing_call = failing + 1;
        EXPECT_EQ(hdo_open(session_of(stream)), 0);  // no call was missed
        player_service().failing_call = 0;
        EXPECT_EQ(hdo_close(session_of(stream)), 0);
        take_calls();
        player_service().failing_call = flags == passthru_flags ? 3 : 1;  // ChnOpen
        EXPECT_NE(hdo_open(session_of(stream)), 0);
        take_calls();
        close_stream(stream);
        EXPECT_EQ(take_calls(), lines{});  // what failed to open is not torn down again
        close_device(dev);
    }
}

TEST_F(DirectSetup, AFailedUnwindStepStopsNoOther) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    auto& results = player_service().results;
    results["DetachSnd"] = results["DestroyTrack"] = results["ChnClose"] = results["Destroy"] = 5;
    results["Start"] = refused;
    EXPECT_EQ(hdo_open(session_of(stream)), refused);
    const lines calls = take_calls();
    EXPECT_EQ(lines(calls.end() - 4, calls.end()),
              (lines{"DetachSnd 91 71", "DestroyTrack 91", "ChnClose 71 1", "Destroy 71"}));
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_avplay", "Call ZUAVPLAYER_Destroy failed (0x5)"),
        1);
    results.clear();
    close_stream(stream);
}

TEST_F(DirectSetup, RefusesAFormatThatThePlayerCannotDecode) {
    for (const unsigned flags : {tunnel_flags, passthru_flags}) {
        reset_player_service();
        struct audio_stream_out* const stream =
            open_direct(flags, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_DTS);
        EXPECT_EQ(hdo_open(session_of(stream)), -1);
        lines calls = take_calls();
        if (flags == passthru_flags) {
            calls.erase(calls.begin(), calls.begin() + 2);
            ASSERT_FALSE(calls.empty());
            EXPECT_EQ(calls.back(), "Destroy 71");
            calls.pop_back();
        }
        EXPECT_EQ(calls, (lines{"ChnOpen 71 1 null 0", "ChnClose 71 1"}));
        EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"),
                  (lines{"Not support format(0xb000000)", "call createtrack failed 0xffffffff"}));
        close_stream(stream);
        close_device(dev);
    }
}

TEST_F(DirectSetup, ATunnelWaitsForItsAvSyncSource) {
    open_device();
    struct audio_stream_out* const stream =
        open_stream(tunnel_flags, 48000, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_AC3);
    take_calls();
    log.clear();
    write(stream, "abcd");
    EXPECT_EQ(take_calls(), lines{});
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_avplay"),
              (lines{"avplay_create usecase 3  hw_sync_id:0xffffffff",
                     "usecase: DIRECT_HWSYNC hwsync source(-1)  not obtained in advance"}));
    EXPECT_EQ(faults().sleeps_us.size(), 1U);
    free(dev->get_parameters(dev, "hw_av_sync"));
    log.clear();
    write(stream, "");
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_avplay")[1],
              "usecase: DIRECT_HWSYNC hwsync source already obtained(113),  reuse it");
    EXPECT_FALSE(standby_of(stream));

    session_of(stream)->usecase = USECASE_PRIMARY_PCM;
    EXPECT_EQ(hdo_open(session_of(stream)), -1);
    EXPECT_EQ(hdo_close(session_of(stream)), 0);
    EXPECT_EQ(log.count("avplay_create unkowned usecase 0  hw_sync_id:0x71"), 1);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hdo", "hdo_close:invalid usecase"), 1);
    close_stream(stream);
}

TEST_F(DirectSetup, ClosesAChannelFirstThatALateCallMayHaveOpened) {
    struct audio_stream_out* const stream = open_direct(tunnel_flags);
    const auto first_calls = [&] {
        write(stream, "abcd");
        lines calls = take_calls();
        calls.resize(2);
        return joined(calls);
    };
    auto& results = player_service().results;
    results["ChnOpen"] = -ETIMEDOUT;
    EXPECT_EQ(first_calls(), "ChnOpen 71 1 null 0 | ");
    results = {
        {"AttachSnd", refused}};  // an early answer does not mean that all late calls are done
    EXPECT_EQ(first_calls(), "ChnClose 71 1 | ChnOpen 71 1 null 0");
    results.clear();
    EXPECT_EQ(first_calls(), "ChnClose 71 1 | ChnOpen 71 1 null 0");
    results["ChnClose"] = -ETIMEDOUT;
    for (const char* const again :
         {"ChnClose 71 1 | ChnOpen 71 1 null 0", "ChnOpen 71 1 null 0 | GetTrackDefAttr 0 18"}) {
        standby(stream);
        results.clear();
        take_calls();
        EXPECT_EQ(first_calls(), again);
    }
    close_stream(stream);
}

TEST_F(DirectSetup, AStreamThatIsClosedWhileItPlaysLeavesNothingInThePlayer) {
    for (const unsigned flags : {tunnel_flags, passthru_flags}) {
        reset_player_service();
        struct audio_stream_out* const stream = open_running(flags);
        close_stream(stream);
        lines expected = {"Stop 71 1 {0 1} 8", "DetachSnd 91 71", "DestroyTrack 91",
                          "ChnClose 71 1", "SetSndLatency 0 28"};
        if (flags == passthru_flags) {
            expected.emplace_back("Destroy 71");
        }
        EXPECT_EQ(take_calls(), expected);
        close_device(dev);
    }
}

TEST_F(DirectSetup, ClosingWhatWasNeverBuiltDestroysNoPlayer) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    EXPECT_EQ(hdo_close(session_of(stream)), 0);
    EXPECT_EQ(take_calls(), (lines{"Stop ffffffff 1 {0 1} 8", "DetachSnd 0 ffffffff",
                                   "DestroyTrack 0", "ChnClose ffffffff 1", "SetSndLatency 0 28"}));
    close_stream(stream);
}

TEST_F(DirectSetup, ATunnelForgetsWhatItCarriedOverWhenItsAudioGoes) {
    struct audio_stream_out* const stream = open_running(tunnel_flags);
    session_of(stream)->last_pts = 9;
    session_of(stream)->raw_data_left = 8;
    session_of(stream)->tmp_len = 7;
    standby(stream);
    EXPECT_EQ(session_of(stream)->last_pts, 0U);
    EXPECT_EQ(session_of(stream)->raw_data_left, 0U);
    EXPECT_EQ(session_of(stream)->tmp_len, 0U);
    close_stream(stream);
}

TEST_F(DirectSetup, TracesItsStepsInOrder) {
    struct audio_stream_out* const stream = open_direct(tunnel_flags);
    gbEnableTrace = 1;
    const auto traced = [this](const char* tag) {
        lines names;
        for (const std::string& text : logged(ANDROID_LOG_DEBUG, tag)) {
            const size_t called = text.find(" called");
            if (called != std::string::npos) {
                names.push_back(text.substr(1, called - 1));
            }
        }
        return names;
    };
    write(stream, avsync_frame(1, "x", 1));
    standby(stream);
    EXPECT_EQ(
        traced("audio_hal_avplay"),
        (lines{"hal_avplay_create", "createtrack", "setattr", "setadecbuffersize", "setadecattr",
               "data_write", "hal_avplay_resume", "hal_avplay_destoryaudio", "pts_reset"}));
    EXPECT_EQ(traced("audio_hal_hdo"), (lines{"hdo_write"}));
    gbEnableTrace = 0;
    close_stream(stream);
}

TEST_F(DirectSetup, NullArgumentsAreRefused) {
    EXPECT_EQ(hal_avplay_create(nullptr), -1);
    EXPECT_EQ(hal_avplay_destoryaudio(nullptr), -1);
    EXPECT_EQ(hal_avplay_destory(nullptr), -1);
    EXPECT_EQ(hal_avplay_create_ext(nullptr), -1);
    static struct avplay_session ownerless = {};
    EXPECT_EQ(hal_avplay_create(&ownerless), -1);
    EXPECT_EQ(take_calls(), lines{});
}
