#include <cutils/property_overrides.h>

#include "diag/debug_switches.h"
#include "direct/data_feed.h"
#include "direct/tunnel_writer.h"
#include "tests/support/direct_fixture.h"

namespace {

using chunk = fake_player_functions::chunk;

constexpr int32_t full = static_cast<int32_t>(0x80140004);
constexpr int32_t not_ready = static_cast<int32_t>(0x80140007);
constexpr uint64_t poll_us = 10'000;

class DataFeed : public direct_test {
  protected:
    int32_t feed(const std::string& data, uint32_t pts = PTS_NONE) {
        return data_write(session_of(stream), reinterpret_cast<const uint8_t*>(data.data()),
                          static_cast<uint32_t>(data.size()), pts);
    }
    void SetUp() override { stream = open_running(passthru_flags); }
    void TearDown() override { close_stream(stream); }

    struct audio_stream_out* stream = nullptr;
};

}  // namespace

TEST_F(DataFeed, SendsChunksOf1024BytesTheFirstWithThePts) {
    const std::string data = audio(3000);
    EXPECT_EQ(feed(data, 40), 0);
    EXPECT_EQ(take_chunks(), (std::vector<chunk>{{0x71, 40, data.substr(0, 1024)},
                                                 {0x71, PTS_NONE, data.substr(1024, 1024)},
                                                 {0x71, PTS_NONE, data.substr(2048)}}));
    EXPECT_EQ(feed(audio(1024), 41), 0);
    EXPECT_EQ(take_chunks().size(), 1U);
    EXPECT_EQ(feed(audio(1025), 42), 0);
    EXPECT_EQ(take_chunks().back().bytes.size(), 1U);
}

TEST_F(DataFeed, ResumesAReadyPlayerAlsoForNoBytesAndGivesItsStatus) {
    session_of(stream)->state = AVPLAY_STATE_READY;
    player_service().results["Resume"] = 5;
    EXPECT_EQ(feed(""), 5);
    EXPECT_EQ(session_of(stream)->state, AVPLAY_STATE_RUNNING);
    EXPECT_EQ(feed(""), 0);
    session_of(stream)->state = AVPLAY_STATE_READY;
    EXPECT_EQ(feed("x"), 0);  // the chunk's status, not the resume's
    EXPECT_EQ(player_service().room_requests, 1);
}

TEST_F(DataFeed, WaitsForRoomByTensOfMilliseconds) {
    player_service().room = {full, not_ready, full, 0, 0, full};
    player_service().in_call = [this](const std::string&) {
        EXPECT_TRUE(is_held(to_hal_stream_out(stream)->lock));
    };
    const std::string data = audio(3000);
    write(stream, data);
    player_service().in_call = nullptr;
    EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>(4, poll_us)));
    EXPECT_EQ(payload_of(take_chunks()), data);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"), lines{});
    // A second in all is no second on end.
    player_service().room.assign(60, full);
    player_service().room.push_back(0);
    player_service().room.insert(player_service().room.end(), 60, full);
    EXPECT_EQ(feed(data), 0);
    EXPECT_EQ(payload_of(take_chunks()), data);
}

TEST_F(DataFeed, GivesUpWaitingAfterASecondAndAHundredMillisecondsPaused) {
    for (const bool paused : {false, true}) {
        for (const int32_t busy : {full, not_ready}) {
            session_of(stream)->state = paused ? AVPLAY_STATE_PAUSED : AVPLAY_STATE_RUNNING;
            player_service().results["GetBuf"] = busy;
            player_service().room = {0};  // for the first chunk, which stays sent
            reset_faults();
            log.clear();
            EXPECT_EQ(feed(audio(3000)), -1);
            EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>(paused ? 10 : 100, poll_us)));
            EXPECT_EQ(take_chunks().size(), 1U);
            EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"),
                      (lines{std::string("ZUAVPLAYER_GetBuf failed (0x8014000") +
                             (busy == full ? "4" : "7") + "): no room for " +
                             (paused ? "100" : "1000") + " ms"}));
        }
    }
    // A slow service is not asked a hundred times.
    session_of(stream)->state = AVPLAY_STATE_RUNNING;
    reset_faults();
    player_service().in_call = [](const std::string&) { faults().clock_us += 400'000; };
    for (const size_t sleeps : {3U, 6U}) {  // each call waits anew
        EXPECT_EQ(feed("x"), -1);
        EXPECT_EQ(faults().sleeps_us.size(), sleeps);
    }
    player_service().in_call = nullptr;
    // And then all is as before.
    player_service().results.clear();
    EXPECT_EQ(feed("x"), 0);
}

TEST_F(DataFeed, CountsTheWaitForAnotherStreamsChunkWithThatForRoom) {
    struct audio_stream_out* const other = open_running(tunnel_flags);
    session_of(other)->state = AVPLAY_STATE_PAUSED;
    uint64_t waited_us = 0;
    player_service().in_call = [&](const std::string& name) {
        if (name == "PutBufEx" && waited_us == 0) {
            log.clear();
            // Without the stream's lock, which is never taken behind that of the block.
            const std::string frames = avsync_frame(1, "abc", 1) + avsync_frame(1, "def", 2);
            player_service().room.assign(6, full);
            waited_us = faults().clock_us;
            hal_avplay_write(session_of(other), reinterpret_cast<const uint8_t*>(frames.data()),
                             static_cast<uint32_t>(frames.size()));
            waited_us = faults().clock_us - waited_us;
        }
    };
    EXPECT_EQ(feed("xyz"), 0);
    player_service().in_call = nullptr;
    EXPECT_EQ(payload_of(take_chunks()), "xyz");
    // Both frames are lost after one wait, of which six polls went before.
    EXPECT_EQ(log.count_containing("another stream's chunk is in the way for 100 ms"), 1);
    EXPECT_NEAR(static_cast<double>(waited_us), 100'000 - 6 * poll_us, 1000);
    EXPECT_EQ(log.count_containing("tunnel_write_framedata:avplay_write1 failed 0xffffffff"), 2);
    write(other, avsync_frame(1, "ghi", 3));
    EXPECT_EQ(payload_of(take_chunks()), "ghi");
    close_stream(other);
}

TEST_F(DataFeed, AnyOtherRefusalEndsTheWriteAtOnce) {
    for (const int32_t code : {-32, static_cast<int32_t>(0x80140005), -1}) {
        player_service().results["GetBuf"] = code;
        player_service().room = {0, full};
        reset_faults();
        log.clear();
        const std::string data = audio(3000);
        EXPECT_EQ(feed(data), -1);
        EXPECT_EQ(payload_of(take_chunks()), data.substr(0, 1024));
        EXPECT_EQ(faults().sleeps_us.size(), 1U);
        char text[64];
        snprintf(text, sizeof(text), "ZUAVPLAYER_GetBuf failed (0x%x)",
                 static_cast<unsigned>(code));
        EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"), (lines{text}));
    }
}

TEST_F(DataFeed, GoesOnAfterARefusedChunkAndGivesTheLastStatus) {
    int put = 0;
    player_service().in_call = [&put](const std::string& name) {
        put += name == "PutBufEx" ? 1 : 0;
        player_service().results["PutBufEx"] = put == 2 ? 6 : 0;
    };
    EXPECT_EQ(feed(audio(3000)), 0);
    EXPECT_EQ(take_chunks().size(), 3U);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"),
              (lines{"Call ZUAVPLAYER_PutBufEx failed (0x6)"}));
    put = 0;
    EXPECT_EQ(feed(audio(2000)), 6);
    player_service().in_call = nullptr;
}

TEST_F(DataFeed, LogsRisingTimesWhilePtsLoggingIsOn) {
    gbEnablePts = 1;
    feed("", 5);  // brings the previous time of any session down
    log.clear();
    feed("ab", 7);
    feed("ab", 6);
    feed("abc", PTS_NONE);
    feed("ab", 9);
    EXPECT_EQ(
        logged(ANDROID_LOG_DEBUG, "audio_hal_avplay"),
        (lines{"krx_avplay_write size:2  pts:7  At=2", "krx_avplay_write size:3  pts:-1  At=-7"}));
    gbEnablePts = 0;
}

TEST_F(DataFeed, CapturesWhatWasHandedOver) {
    close_stream(stream);
    property_override("persist.audiohal.file.es", "true");
    stream = open_stream(passthru_flags, 48000, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_AC3);
    const std::string data = audio(5000);
    write(stream, data.substr(0, 3000));
    player_service().results["PutBufEx"] = 5;  // counts as handed over
    write(stream, data.substr(3000, 1000));
    player_service().results["GetBuf"] = 5;  // does not
    write(stream, data.substr(4000));
    player_service().results.clear();
    standby(stream);
    write(stream, "more");  // the file is the stream's, not the wake's
    close_stream(stream);
    EXPECT_EQ(contents("hal_audio.es"), data.substr(0, 4000) + "more");

    std::filesystem::remove("hal_audio.es");
    std::filesystem::create_symlink("/dev/full", "hal_audio.es");
    stream = open_stream(passthru_flags, 48000, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_AC3);
    setvbuf(session_of(stream)->es_file, nullptr, _IONBF, 0);
    log.clear();
    EXPECT_EQ(feed(audio(1030)), 0);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"),
              (lines{" fwrite es file failed wanted(1024) actual(0)",
                     " fwrite es file failed wanted(6) actual(0)"}));
    EXPECT_EQ(data_write(nullptr, nullptr, 0, 0), -1);
    EXPECT_EQ(data_write(session_of(stream), nullptr, 1, 0), -1);
}
