#include <atomic>
#include <thread>

#include "direct/hdo.h"
#include "direct/playback_control.h"
#include "tests/support/direct_fixture.h"

namespace {

constexpr int32_t refused = static_cast<int32_t>(0x80140003);
constexpr uint32_t ready = AVPLAY_STATE_READY;
constexpr uint32_t running = AVPLAY_STATE_RUNNING;
constexpr uint32_t paused = AVPLAY_STATE_PAUSED;

class DirectControl : public direct_test {};

}  // namespace

TEST_F(DirectControl, EveryEventInEveryState) {
    const struct {
        uint32_t from;
        const char* event;
        const char* failing;
        uint32_t to;
        int32_t result;
        const char* calls;
        const char* errors;  // of the session; the back end repeats those that it returns
    } rows[] = {
        {ready, "pause", "", paused, 0, "Pause 71 null 0", ""},
        {running, "pause", "", paused, 0, "Pause 71 null 0", ""},
        {paused, "pause", "", paused, 0, "", "hal_avplay_pause: Avplay not RUNNING state(0x2)"},
        {running, "pause", "Pause", running, refused, "Pause 71 null 0",
         "Call ZUAVPLAYER_Pause (0x71) failed (0x80140003)"},
        {ready, "resume", "", running, 0, "Resume 71 null 0", ""},
        {paused, "resume", "", running, 0, "Resume 71 null 0", ""},
        {running, "resume", "", running, 0, "", "hal_avplay_resume: Avplay not PAUSED state(0x1)"},
        {paused, "resume", "Resume", paused, refused, "Resume 71 null 0",
         "Call ZUAVPLAYER_Resume (0x71) failed (0x80140003)"},
        {ready, "flush", "", ready, 0, "Stop 71 1 null 0 | Start 71 1 null 0", ""},
        {running, "flush", "", ready, 0, "Stop 71 1 null 0 | Start 71 1 null 0", ""},
        {paused, "flush", "", ready, 0, "Stop 71 1 null 0 | Start 71 1 null 0", ""},
        {paused, "flush", "Stop", paused, 0, "Stop 71 1 null 0",
         "Avplay Flush ZUAVPLAYER_Stop failed (0x80140003)"},
        {running, "flush", "Start", ready, 0, "Stop 71 1 null 0 | Start 71 1 null 0",
         "Avplay Flush ZUAVPLAYER_Start failed (0x80140003)"},
        {ready, "data", "", running, 4, "Resume 71 null 0", ""},
        {ready, "data", "Resume", running, 4, "Resume 71 null 0",
         "Call ZUAVPLAYER_Resume (0x71) failed (0x80140003) | hal_avplay_resume faild(0x80140003)"},
        {running, "data", "", running, 4, "", ""},
        {paused, "data", "", paused, 4, "", ""},
    };
    struct audio_stream_out* const stream = open_running(passthru_flags);
    struct avplay_session* const session = session_of(stream);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.event) + " in " + std::to_string(row.from) + " failing " +
                     row.failing);
        const std::string event = row.event;
        session->state = static_cast<avplay_state>(row.from);
        player_service().results = {{row.failing, refused}};
        log.clear();
        const ssize_t result = event == "pause"    ? stream->pause(stream)
                               : event == "resume" ? stream->resume(stream)
                               : event == "flush"  ? stream->flush(stream)
                                                   : stream->write(stream, "data", 4);
        EXPECT_EQ(result, row.result);
        EXPECT_EQ(session->state, row.to);
        EXPECT_EQ(joined(take_calls()), row.calls);
        EXPECT_EQ(payload_of(take_chunks()), event == "data" ? "data" : "");
        EXPECT_EQ(joined(logged(ANDROID_LOG_ERROR, "audio_hal_avplay")), row.errors);
        const lines repeated = logged(ANDROID_LOG_ERROR, "audio_hal_hdo");
        if (row.result == refused) {
            EXPECT_EQ(repeated, (lines{"hal_avplay_" + event + " failed(0x80140003)"}));
        } else {
            EXPECT_EQ(repeated, lines{});
        }
    }
    player_service().results.clear();
    close_stream(stream);
}

TEST_F(DirectControl, SaysWhereItGoes) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    write(stream, "");
    stream->pause(stream);
    stream->resume(stream);
    const lines said = logged(ANDROID_LOG_DEBUG, "audio_hal_avplay");
    ASSERT_GE(said.size(), 4U);
    EXPECT_EQ(lines(said.end() - 4, said.end()),
              (lines{"hal_avplay_resume: [PAUSED] -> [RUNNING]",
                     "data_write: Avplay Resume -> [RUNNING] ",
                     "hal_avplay_pause: Avplay [RUNNING] -> [PAUSED]",
                     "hal_avplay_resume: [PAUSED] -> [RUNNING]"}));
    log.clear();
    EXPECT_EQ(hal_avplay_drain(session_of(stream), 1), 0);
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_avplay"),
              (lines{"hal_avplay_drain: Avplay [drain type(0x1)"}));
    take_calls();
    EXPECT_EQ(hdo_drain(session_of(stream), true), 0);
    EXPECT_EQ(take_calls(), lines{});
    close_stream(stream);
}

TEST_F(DirectControl, FlushForgetsWhatATunnelCarriesAlsoWhenItFails) {
    for (const char* failing : {"", "Stop"}) {
        struct audio_stream_out* const stream = open_running(tunnel_flags);
        struct avplay_session* const session = session_of(stream);
        session->tmp_len = 10;
        session->raw_data_left = 500;
        session->last_pts = 77;
        player_service().results = {{failing, refused}};
        EXPECT_EQ(hal_avplay_flush(session), *failing != '\0' ? refused : 0);
        EXPECT_EQ(session->tmp_len, 0U);
        EXPECT_EQ(session->raw_data_left, 0U);
        EXPECT_EQ(session->last_pts, 0U);
        player_service().results.clear();
        take_chunks();
        write(stream, avsync_frame(1, "payload", 5));  // a header search, not a debt
        EXPECT_EQ(take_chunks(), (std::vector<fake_player_functions::chunk>{{0x71, 5, "payload"}}));
        close_stream(stream);
        close_device(dev);
        reset_player_service();
    }
}

TEST_F(DirectControl, PositionIsWhatTheDecoderGave) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    player_service().position = 0xFFFFFFF0;
    uint64_t frames = 99;
    struct timespec time = {};
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    EXPECT_EQ(frames, 0U);
    EXPECT_EQ(take_calls(), lines{});  // there is nobody to ask before the first write
    write(stream, "");
    take_calls();
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    EXPECT_EQ(frames, 0xFFFFFFF0U);
    EXPECT_EQ(take_calls(), (lines{"GetAdecOutFrameInfo 71"}));

    struct avplay_session* const session = session_of(stream);
    player_service().results["GetAdecOutFrameInfo"] = refused;
    log.clear();
    EXPECT_EQ(hdo_get_tstamp(session, &frames), refused);
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_avplay"),
              (lines{"hal_avplay_getstamp: ZUAVPLAYER_GetAdecOutFrameInfo failed(0x80140003)"}));
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"),
              (lines{"hal_avplay_getstamp failed (0x80140003)"}));
    player_service().results.clear();

    take_calls();
    const uint32_t player = session->avplay_handle;
    session->avplay_handle = 0;
    frames = 99;
    EXPECT_EQ(hal_avplay_getstamp(session, &frames), 0);
    EXPECT_EQ(frames, 99U);
    EXPECT_EQ(hdo_get_tstamp(session, &frames), 0);
    EXPECT_EQ(frames, 0U);
    session->avplay_handle = player;
    standby(stream);
    take_calls();
    EXPECT_EQ(hdo_get_tstamp(session, &frames), 0);
    EXPECT_EQ(take_calls(), lines{});  // nor is there after the player has gone
    close_stream(stream);
}

TEST_F(DirectControl, PositionsMayBeAskedWhileTheStreamPlaysAndSleeps) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    player_service().position = 7;
    std::atomic<bool> done{false};
    std::atomic<int> answers{0};
    std::thread asking([&] {
        while (!done || answers == 0) {
            uint32_t frames = 99;
            EXPECT_EQ(stream->get_render_position(stream, &frames), 0);
            EXPECT_TRUE(frames == 0 || frames == 7) << frames;
            ++answers;
        }
    });
    for (int i = 0; i < 200; ++i) {
        write(stream, "data");
        standby(stream);
    }
    done = true;
    asking.join();
    close_stream(stream);
}

TEST_F(DirectControl, NullArgumentsAreRefused) {
    static struct avplay_session session = {};
    uint64_t frames = 99;
    EXPECT_EQ(hal_avplay_pause(nullptr), -1);
    EXPECT_EQ(hal_avplay_resume(nullptr), -1);
    EXPECT_EQ(hal_avplay_flush(nullptr), -1);
    EXPECT_EQ(hal_avplay_getstamp(nullptr, &frames), -1);
    EXPECT_EQ(hal_avplay_getstamp(&session, nullptr), -1);
    EXPECT_EQ(hdo_pause(nullptr), -1);
    EXPECT_EQ(hdo_resume(nullptr), -1);
    EXPECT_EQ(hdo_flush(nullptr), -1);
    EXPECT_EQ(hdo_get_tstamp(nullptr, &frames), -1);
    EXPECT_EQ(hdo_get_tstamp(&session, nullptr), -1);
    EXPECT_EQ(frames, 99U);
}
