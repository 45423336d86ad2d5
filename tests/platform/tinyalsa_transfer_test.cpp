// Transfers over a card that stops short, underruns, suspends and vanishes.

#include <cerrno>
#include <climits>

#include "tinyalsa_env.h"
#include "tinyalsa_fake_alsa.h"

namespace {

constexpr unsigned kFrames = 10;
constexpr unsigned kBytes = kFrames * 4;

class TinyalsaTransfer : public testing::Test {
  protected:
    void SetUp() override {
        fake = fake_alsa();
        for (unsigned i = 0; i < kBytes; ++i) {
            data_[i] = static_cast<char>(i);
        }
    }
    void TearDown() override { EXPECT_EQ(fake.open_streams, 0); }

    std::vector<char> data_ = std::vector<char>(kBytes);
};

TEST_F(TinyalsaTransfer, MovesEveryFrameOnceOrSaysWhyNot) {
    constexpr bool kRepeat = true;
    const struct {
        const char* name;
        unsigned flags;
        std::deque<long> results;
        bool repeat_last;
        int expected;
        int prepares;
        size_t frames;
    } rows[] = {
        {"all at once", 0, {}, false, 0, 0, 10},
        {"in pieces", 0, {3, 5}, false, 0, 0, 10},
        {"one underrun", 0, {-EPIPE}, false, 0, 1, 10},
        {"one suspend", 0, {-ESTRPIPE}, false, 0, 1, 10},
        {"an underrun half way", 0, {4, -EPIPE}, false, 0, 1, 10},
        {"signals", 0, std::deque<long>(50, -EINTR), false, 0, 0, 10},
        {"underrun reported", PCM_NORESTART, {4, -EPIPE}, false, -EPIPE, 0, 4},
        {"suspend reported", PCM_NORESTART, {-ESTRPIPE}, false, -ESTRPIPE, 0, 0},
        {"unplugged", 0, {4, -ENODEV}, kRepeat, -ENODEV, 0, 4},
        {"underruns that end", 0, std::deque<long>(5, -EPIPE), false, 0, 5, 10},
        {"underruns without end", 0, {-EPIPE}, kRepeat, -EPIPE, 5, 0},
        {"suspends without end", 0, {2, -ESTRPIPE}, kRepeat, -ESTRPIPE, 5, 2},
        {"underruns between frames",
         0,
         {-EPIPE, -EPIPE, -EPIPE, -EPIPE, 1, -EPIPE, -EPIPE, -EPIPE, -EPIPE, 1, -EPIPE, -EPIPE},
         false,
         0,
         10,
         10},
        {"nothing moves", 0, {0}, kRepeat, -EIO, 0, 0},
        {"would wait though blocking", 0, {-EAGAIN}, kRepeat, -EAGAIN, 0, 0},
        {"must not wait", PCM_NONBLOCK, {4, -EAGAIN}, false, -EAGAIN, 0, 4},
    };
    for (const bool capture : {false, true}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(capture ? "capture: " : "playback: ") + row.name);
            fake = fake_alsa();
            fake.results = row.results;
            fake.repeat_last_result = row.repeat_last;
            const pcm_ptr handle =
                open_pcm(row.flags | (capture ? PCM_IN : PCM_OUT), stereo_config());
            std::vector<char> got(kBytes, '?');
            const int result = capture ? pcm_read(handle.get(), got.data(), kBytes)
                                       : pcm_write(handle.get(), data_.data(), kBytes);
            EXPECT_EQ(result, row.expected);
            EXPECT_EQ(fake.calls["prepare"], row.prepares);
            std::vector<char> expected(data_.begin(), data_.begin() + long(row.frames * 4));
            if (capture) {
                EXPECT_EQ(fake.calls["start"], 1 + row.prepares) << "each prepare wants a start";
                expected.resize(kBytes, '?');
                EXPECT_EQ(got, expected);
            } else {
                EXPECT_EQ(fake.calls["start"], 0) << "the threshold starts playback";
                EXPECT_EQ(fake.written, expected);
            }
            if (row.expected < 0 && row.expected != -EAGAIN) {
                const std::string frames = std::to_string(row.frames) + " of 10 frames on hw:0,0";
                expect_error(handle, {frames.c_str(), snd_strerror(row.expected)});
            }
        }
    }
}

TEST_F(TinyalsaTransfer, ACardThatCannotBePreparedEndsTheTransfer) {
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    fake.results = {-EPIPE};
    fake.failures["prepare"] = -ENODEV;
    EXPECT_EQ(pcm_write(handle.get(), data_.data(), kBytes), -ENODEV);
    EXPECT_EQ(fake.calls["prepare"], 1);
}

TEST_F(TinyalsaTransfer, ACaptureThatCannotStartSaysSo) {
    const pcm_ptr handle = open_pcm(PCM_IN, stereo_config());
    fake.failures["start"] = -EIO;
    EXPECT_EQ(pcm_read(handle.get(), data_.data(), kBytes), -EIO);
    EXPECT_EQ(fake.calls["readi"], 0);
}

TEST_F(TinyalsaTransfer, FrameCallsSayHowMuchMovedWithoutWaiting) {
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_NONBLOCK, stereo_config());
    fake.results = {4, -EAGAIN, -EAGAIN};
    EXPECT_EQ(pcm_writei(handle.get(), data_.data(), kFrames), 4);
    EXPECT_EQ(pcm_writei(handle.get(), data_.data(), kFrames), -EAGAIN);
    EXPECT_EQ(fake.calls["wait"], 0);
}

TEST_F(TinyalsaTransfer, AStoppedStreamGoesOnWithTheNextFrames) {
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_NORESTART, stereo_config());
    EXPECT_EQ(pcm_write(handle.get(), data_.data(), kBytes), 0);
    EXPECT_EQ(pcm_stop(handle.get()), 0);
    EXPECT_EQ(pcm_write(handle.get(), data_.data(), kBytes), 0);
    EXPECT_EQ(fake.calls["prepare"], 1);
}

TEST_F(TinyalsaTransfer, MmapStreamsUseTheMappedCalls) {
    const pcm_ptr out = open_pcm(PCM_OUT | PCM_MMAP, stereo_config());
    EXPECT_EQ(pcm_write(out.get(), data_.data(), kBytes), 0);
    const pcm_ptr in = open_pcm(PCM_IN | PCM_MMAP, stereo_config());
    EXPECT_EQ(pcm_read(in.get(), data_.data(), kBytes), 0);
    EXPECT_EQ(fake.calls["mmap_writei"] + fake.calls["mmap_readi"], 2);
    EXPECT_EQ(fake.calls["writei"] + fake.calls["readi"], 0);
}

TEST_F(TinyalsaTransfer, BadArgumentsMoveNothing) {
    {
        const pcm_ptr in = open_pcm(PCM_IN, stereo_config());
        EXPECT_EQ(pcm_write(in.get(), data_.data(), kBytes), -EINVAL);
        expect_error(in, {"for capture only"});
        EXPECT_EQ(pcm_read(in.get(), nullptr, kBytes), -EINVAL);
    }
    const pcm_ptr out = open_pcm(PCM_OUT, stereo_config());
    EXPECT_EQ(pcm_read(out.get(), data_.data(), kBytes), -EINVAL);
    expect_error(out, {"for playback only"});
    EXPECT_EQ(pcm_write(out.get(), nullptr, kBytes), -EINVAL);
    EXPECT_EQ(pcm_writei(out.get(), data_.data(), UINT_MAX), -EINVAL);
    EXPECT_EQ(pcm_write(nullptr, data_.data(), kBytes), -EINVAL);
    EXPECT_EQ(pcm_read(nullptr, data_.data(), kBytes), -EINVAL);
    EXPECT_EQ(pcm_write(out.get(), nullptr, 0), 0);
    EXPECT_EQ(pcm_write(out.get(), data_.data(), 3), 0) << "less than a frame";
    EXPECT_EQ(fake.calls["writei"] + fake.calls["readi"], 0);
    EXPECT_EQ(pcm_write(out.get(), data_.data(), 11), 0);
    EXPECT_EQ(fake.written.size(), 8u) << "the partial frame stays out";
}

TEST_F(TinyalsaTransfer, NullHandlesAreAnswered) {
    unsigned avail = 77;
    timespec stamp = {};
    EXPECT_EQ(pcm_close(nullptr), -EINVAL);
    EXPECT_EQ(pcm_is_ready(nullptr), 0);
    EXPECT_NE(pcm_get_error(nullptr), nullptr);
    EXPECT_EQ(pcm_get_htimestamp(nullptr, &avail, &stamp), -EINVAL);
    EXPECT_EQ(pcm_prepare(nullptr), -EINVAL);
    EXPECT_EQ(pcm_get_config(nullptr), nullptr);
    EXPECT_EQ(pcm_get_buffer_size(nullptr), 0u);
    EXPECT_EQ(pcm_frames_to_bytes(nullptr, 5), 0u);
    EXPECT_EQ(pcm_bytes_to_frames(nullptr, 5), 0u);
    EXPECT_EQ(avail, 77u);
}

TEST_F(TinyalsaTransfer, PositionsFollowTheStreamsState) {
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_MONOTONIC, stereo_config());
    const struct {
        const char* name;
        snd_pcm_state_t state;
        int failure;
        int expected;
    } rows[] = {
        {"prepared", SND_PCM_STATE_PREPARED, 0, 0},
        {"running", SND_PCM_STATE_RUNNING, 0, 0},
        {"after an underrun", SND_PCM_STATE_XRUN, 0, 0},
        {"stopped", SND_PCM_STATE_SETUP, 0, -EBADFD},
        {"unplugged", SND_PCM_STATE_DISCONNECTED, 0, -ENODEV},
        {"failing", SND_PCM_STATE_RUNNING, -EIO, -EIO},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fake.state = row.state;
        fake.avail = 1200;  // more than the buffer
        fake.stamp = {5, 6};
        fake.failures["status"] = row.failure;
        unsigned avail = 77;
        timespec stamp = {-1, -1};
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), row.expected);
        EXPECT_EQ(avail, row.expected == 0 ? 1200u : 77u);
        EXPECT_EQ(stamp.tv_sec, row.expected == 0 ? 5 : -1);
        EXPECT_EQ(stamp.tv_nsec, row.expected == 0 ? 6 : -1);
    }
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), nullptr, nullptr), -EINVAL);
}

TEST_F(TinyalsaTransfer, AStreamThatHasNotPlayedIsStampedNow) {
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_MONOTONIC, stereo_config());
    timespec before = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    unsigned avail = 0;
    timespec stamp = {};
    ASSERT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    EXPECT_TRUE(stamp.tv_sec > before.tv_sec ||
                (stamp.tv_sec == before.tv_sec && stamp.tv_nsec >= before.tv_nsec));
}

TEST_F(TinyalsaTransfer, ByteCountsAreClippedNotWrapped) {
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    EXPECT_EQ(pcm_frames_to_bytes(handle.get(), 0x3FFFFFFF), 0xFFFFFFFCu);
    EXPECT_EQ(pcm_frames_to_bytes(handle.get(), 0x40000000), UINT_MAX);
}

}  // namespace
