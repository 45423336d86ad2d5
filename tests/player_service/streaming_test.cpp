// Stream data through a client's operations: room, the shared block, and what becomes of the sound.
#include <future>
#include <numeric>

#include "tests/player_service/service_fixture.h"
#include "tests/player_service/wav_contents.h"
#include "tests/support/encoded_stream.h"
#include "tests/support/test_audio.h"

namespace player_service {
namespace {

using namespace android;

class Streaming : public service_test {
  protected:
    Streaming() : service_test({output_target::kind::wav, "out.wav"}) {}

    // Started and not resumed, so that it keeps what it is sent.
    uint32_t create_ready(uint32_t room_bytes = 2048) const {
        const uint32_t player = client_.create_player();
        set_room(player, room_bytes);
        EXPECT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
        EXPECT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
        return player;
    }
    void set_room(uint32_t player, uint32_t bytes) const {
        zu_stream_mode_attr mode;
        EXPECT_EQ(client_->GetAttr(player, ZU_ATTR_STREAM_MODE, &mode, sizeof mode), 0);
        mode.audio_buffer_bytes = bytes;
        EXPECT_EQ(client_->SetAttr(player, ZU_ATTR_STREAM_MODE, &mode, sizeof mode), 0);
    }
    void set_sync(uint32_t player) const {
        zu_sync_attr sync;
        EXPECT_EQ(client_->GetAttr(player, ZU_ATTR_SYNC, &sync, sizeof sync), 0);
        sync.sync_reference = sync.sync_start = 1;
        EXPECT_EQ(client_->SetAttr(player, ZU_ATTR_SYNC, &sync, sizeof sync), 0);
    }
};

std::vector<int16_t> pcm(size_t samples) {
    const std::string bytes = audio(samples * sizeof(int16_t));
    std::vector<int16_t> made(samples);
    std::memcpy(made.data(), bytes.data(), bytes.size());
    return made;
}

TEST_F(Streaming, GrantsRoomToTheByteAndTakesNoMoreThanItGranted) {
    const uint32_t player = create_ready();
    EXPECT_EQ(client_.put_buf(player, 1), code(ZU_ERR_INVALID_ARGUMENT)) << "nothing is granted";
    EXPECT_EQ(client_.get_buf(player, 0), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_.get_buf(player, 2049), code(ZU_ERR_INVALID_ARGUMENT)) << "never so much";
    ASSERT_EQ(client_.send(player, 1024), 0);
    ASSERT_EQ(client_.send(player, 1023), 0);
    EXPECT_EQ(client_.get_buf(player, 2), code(ZU_ERR_BUF_FULL));
    ASSERT_EQ(client_.get_buf(player, 1), 0);
    EXPECT_EQ(client_.put_buf(player, 2), code(ZU_ERR_INVALID_ARGUMENT)) << "more than granted";
    ASSERT_EQ(client_.put_buf(player, 1), 0);
    EXPECT_EQ(client_.get_buf(player, 1), code(ZU_ERR_BUF_FULL));
    EXPECT_EQ(client_.info(player).bytes_held, 2048U);
    set_room(player, 3072);
    EXPECT_EQ(client_.get_buf(player, 1025), code(ZU_ERR_BUF_FULL));
    EXPECT_EQ(client_.get_buf(player, 1024), 0);
    // A stop takes the grant back with the rest.
    ASSERT_EQ(client_->Stop(player, ZU_CHN_AUD, nullptr, 0), 0);
    EXPECT_EQ(client_.get_buf(player, 1), code(ZU_ERR_BUF_NOT_READY));
    EXPECT_EQ(client_.put_buf(player, 1), code(ZU_ERR_INVALID_STATE));
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    EXPECT_EQ(client_.put_buf(player, 1), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_.info(player).bytes_held, 0U);
    ASSERT_EQ(client_->ChnClose(player, ZU_CHN_AUD), 0);
    EXPECT_EQ(client_.get_buf(player, 1), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(client_->ChnOpen(player, ZU_CHN_VID, nullptr, 0), code(ZU_ERR_NOT_SUPPORTED));
    EXPECT_EQ(client_->ChnOpen(player, 2, nullptr, 0), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->GetBuf(player, ZU_BUF_VID, 1, 0), code(ZU_ERR_INVALID_ARGUMENT));
}

TEST_F(Streaming, NeverReadsBeyondTheSharedBlock) {
    const uint32_t player = create_ready(100000);
    EXPECT_EQ(client_.get_buf(player, kBlockBytes + 1), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_.get_buf(player, kBlockBytes), 0);
    ASSERT_EQ(client_.put_buf(player, kBlockBytes), 0);
    // A smaller block comes between the two calls, and then none.
    ASSERT_EQ(client_.get_buf(player, kBlockBytes), 0);
    const sp<MemoryHeapBase> heap = new MemoryHeapBase(kBlockBytes);
    ASSERT_EQ(client_->SetShareMemory(new MemoryBase(heap, 0, 1024)), 0);
    EXPECT_EQ(client_.put_buf(player, kBlockBytes), code(ZU_ERR_NO_BLOCK));
    EXPECT_EQ(client_.put_buf(player, kAllOnes), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->SetShareMemory(new MemoryBase(heap, 4096, kBlockBytes)),
              code(ZU_ERR_NO_BLOCK))
        << "beyond its heap";
    ASSERT_EQ(client_->SetShareMemory(nullptr), 0);
    EXPECT_EQ(client_.get_buf(player, 1), code(ZU_ERR_NO_BLOCK));
    EXPECT_EQ(client_.info(player).bytes_held, kBlockBytes);
}

TEST_F(Streaming, PlaysPcmBitForBitToTheEnd) {
    const std::vector<int16_t> samples = pcm(6 * 20000);
    const uint32_t player = client_.create_running(ZU_ADEC_PCM, 6, 48000);
    client_.feed(player, samples);
    ASSERT_EQ(client_.stop_at_end(player), 0);
    const wav_contents played("out.wav");
    EXPECT_EQ(played.format, (audio_format{6, 48000}));
    EXPECT_TRUE(played.samples == samples) << played.frames();
    uint32_t frames = 7;
    uint32_t units = 7;
    ASSERT_EQ(client_->GetAdecOutFrameInfo(player, &frames, &units), 0);
    EXPECT_EQ(frames, 20000U);
    uint32_t played_ms = 7;
    uint32_t pts_ms = 7;
    ASSERT_EQ(client_->GetAudioPlaytime(player, &played_ms, &pts_ms), 0);
    EXPECT_EQ(played_ms, 416U);
    EXPECT_EQ(pts_ms, ZU_PTS_NONE);
}

TEST_F(Streaming, StopWithoutAnOptionDropsWhatIsQueuedAndCountsAnew) {
    const uint32_t player = client_.create_running(ZU_ADEC_PCM, 2, 48000);
    client_.feed(player, pcm(2 * 1000));
    ASSERT_EQ(client_->Pause(player, nullptr, 0), 0);
    ASSERT_EQ(client_.send(player, 1024), 0);
    ASSERT_EQ(client_->Stop(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    EXPECT_EQ(client_.info(player).frames, 0U);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    client_.feed(player, pcm(2 * 10));
    ASSERT_EQ(client_.stop_at_end(player), 0);
    EXPECT_EQ(client_.info(player).frames, 10U);
}

TEST_F(Streaming, APausedPlayerStopsAtOnceEvenToTheEnd) {
    const uint32_t player = create_ready();
    ASSERT_EQ(client_.send(player, 1024), 0);
    ASSERT_EQ(client_->Pause(player, nullptr, 0), 0);
    EXPECT_EQ(client_.stop_at_end(player), 0);
    EXPECT_EQ(client_.info(player).frames, 0U);
}

TEST_F(Streaming, ComparesTimestampsWithSoundOnlyWithTheSyncAttribute) {
    for (const bool synced : {true, false}) {
        SCOPED_TRACE(synced);
        const uint32_t player = client_.create_player();
        if (synced) {
            set_sync(player);
        }
        ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
        ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
        ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
        const std::vector<uint8_t> ten_ms(1920);
        for (const uint32_t pts_ms : {5000U, 5010U, 5020U, 5120U, 5110U}) {
            ASSERT_EQ(client_.send(player, ten_ms.data(), 1920, pts_ms), 0);
        }
        ASSERT_EQ(client_.stop_at_end(player), 0);
        const zu_stream_info info = client_.info(player);
        EXPECT_EQ(info.timestamps, synced ? 5U : 0U);
        EXPECT_EQ(info.gaps, synced ? 1U : 0U);
        EXPECT_EQ(info.reordered, synced ? 1U : 0U);
        uint32_t played_ms = 7;
        uint32_t pts_ms = 7;
        ASSERT_EQ(client_->GetAudioPlaytime(player, &played_ms, &pts_ms), 0);
        EXPECT_EQ(pts_ms, 5110U);
    }
}

TEST_F(Streaming, RefusesDecodersThatItDoesNotHaveAndChangesWhileStarted) {
    const uint32_t player = create_ready();
    EXPECT_EQ(client_->SetAdecAttr(player, ZU_ADEC_PCM, 2, 44100, 0), code(ZU_ERR_INVALID_STATE));
    const uint32_t other = client_.create_player();
    EXPECT_EQ(client_->SetAdecAttr(other, 0x81000001, 2, 48000, 0), code(ZU_ERR_NOT_SUPPORTED));
    EXPECT_EQ(client_->SetAdecAttr(other, ZU_ADEC_PCM, 2, 48000, 24), code(ZU_ERR_NOT_SUPPORTED));
    EXPECT_EQ(client_->SetAdecAttr(other, ZU_ADEC_PCM, 0, 48000, 0), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->SetAdecAttr(other, ZU_ADEC_PCM, 2, 48000, 16), 0);
    const struct {
        const char* name;
        int32_t expected;
    } libraries[] = {{"libZU.AUDIO.DOLBYPLUS.decode.so", 0},
                     {"libZU.AUDIO.BLURAYLPCM.decode.so", code(ZU_ERR_NOT_SUPPORTED)},
                     {"libZU.AUDIO.PCM.decode.so", 0},
                     {"", code(ZU_ERR_INVALID_ARGUMENT)},
                     {nullptr, code(ZU_ERR_INVALID_ARGUMENT)}};
    for (const auto& row : libraries) {
        EXPECT_EQ(client_->RegisterAcodecLib(row.name), row.expected);
    }
}

// The clock's pace: what is asserted is the order of things, never how fast they are.
class RealTime : public service_test {
  protected:
    RealTime() : service_test({output_target::kind::wav, "out.wav"}, true) {}
};

TEST_F(RealTime, AStopThatWouldPlayForMinutesEndsBeforeItsCallerGivesUpAndByDestroy) {
    const auto stop_playing = [&](uint32_t wanted_ms, bool destroys) {
        const uint32_t player = client_.create_running(ZU_ADEC_PCM, 1, 8000);
        zu_stream_mode_attr mode = {{0, 0, 0}, 4194304};
        ASSERT_EQ(client_->SetAttr(player, ZU_ATTR_STREAM_MODE, &mode, sizeof mode), 0);
        for (int i = 0; i < 500; ++i) {  // four minutes
            ASSERT_EQ(client_.send(player, kBlockBytes), 0);
        }
        while (client_.info(player).frames == 0) {
            usleep(1000);
        }
        const auto start = std::chrono::steady_clock::now();
        auto stopping = std::async(std::launch::async, [&] {
            const zu_stop_option option = {wanted_ms, 1};
            return client_->Stop(player, ZU_CHN_AUD, &option, sizeof option);
        });
        if (destroys) {
            EXPECT_EQ(client_->Destroy(player), 0);
        }
        const int32_t stopped = stopping.get();
        EXPECT_TRUE(stopped == 0 || stopped == code(ZU_ERR_INVALID_HANDLE)) << stopped;
        // A caller waits for three seconds; the rest is for a machine that is busy.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3500));
    };
    auto another = std::async(std::launch::async, stop_playing, 0, false);
    stop_playing(60000, false);
    another.get();
    stop_playing(60000, true);
    EXPECT_LT(wav_contents("out.wav").frames(), 500U * kBlockBytes / 2);
}

TEST_F(RealTime, LatencyBoundsWhatIsQueuedInTheOutput) {
    EXPECT_EQ(client_->SetSndLatency(ZU_SND_0, 4), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->SetSndLatency(1, 30), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->SetSndLatency(ZU_SND_0, 200), 0);
    const uint32_t player = client_.create_player();
    ASSERT_EQ(client_->SndInit(0), 0);
    const uint32_t track = client_.create_track();
    ASSERT_EQ(client_->AttachSnd(track, player), 0);
    uint32_t delay_ms = 7;
    ASSERT_EQ(client_->GetDelayMs(track, &delay_ms), 0);
    EXPECT_EQ(delay_ms, 0U);
    ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    uint32_t most_ms = 0;
    const std::vector<uint8_t> chunk(1024);
    for (int i = 0; i < 100; ++i) {
        while (client_.send(player, chunk.data(), 1024) == code(ZU_ERR_BUF_FULL)) {
            usleep(1000);
        }
        ASSERT_EQ(client_->GetDelayMs(track, &delay_ms), 0);
        most_ms = std::max(most_ms, delay_ms);
    }
    EXPECT_GT(most_ms, 0U);
    EXPECT_LE(most_ms, 200U);
    ASSERT_EQ(client_.stop_at_end(player), 0);
    EXPECT_EQ(wav_contents("out.wav").frames(), 100U * 256);
}

}  // namespace
}  // namespace player_service
