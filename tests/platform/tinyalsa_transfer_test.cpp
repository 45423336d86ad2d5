// Transfers over a card that stops short, underruns, suspends and vanishes, and positions.

#include <cerrno>
#include <climits>

#include "tests/support/log_recorder.h"
#include "tinyalsa_env.h"
#include "tinyalsa_fake_alsa.h"

namespace {

class TinyalsaTransfer : public testing::Test {
  protected:
    void SetUp() override {
        fake = fake_alsa();
        for (char i = 0; i < 40; ++i) {
            data_ += i;
        }
    }
    void TearDown() override { EXPECT_EQ(fake.live, 0); }

    int write(const pcm_ptr& handle, unsigned bytes = 40) {
        return pcm_write(handle.get(), data_.data(), bytes);
    }
    int read(const pcm_ptr& handle) { return pcm_read(handle.get(), data_.data(), 40); }

    std::string data_;
};

TEST_F(TinyalsaTransfer, MovesEveryFrameOnceOrSaysWhyNot) {
    constexpr bool kRepeat = true;
    const struct {
        const char* name;
        unsigned flags;
        std::deque<long> results;
        bool repeat_last;
        int expected, prepares;
        size_t frames;
    } rows[] = {
        {"in pieces", 0, {3, 5}, false, 0, 0, 10},
        {"an underrun half way", 0, {4, -EPIPE}, false, 0, 1, 10},
        {"one suspend", 0, {-ESTRPIPE}, false, 0, 1, 10},
        {"signals", 0, std::deque<long>(50, -EINTR), false, 0, 0, 10},
        {"underrun reported", PCM_NORESTART, {4, -EPIPE}, false, -EPIPE, 0, 4},
        {"suspend reported", PCM_NORESTART, {-ESTRPIPE}, false, -ESTRPIPE, 0, 0},
        {"unplugged", 0, {4, -ENODEV}, kRepeat, -ENODEV, 0, 4},
        {"underruns that end", 0, std::deque<long>(5, -EPIPE), false, 0, 5, 10},
        {"underruns without end", 0, {2, -EPIPE}, kRepeat, -EPIPE, 5, 2},
        {"more", 0, {-EPIPE, -EPIPE, -EPIPE, 1, -EPIPE, -EPIPE, -EPIPE}, false, 0, 6, 10},
        {"nothing moves", 0, {0}, kRepeat, -EIO, 0, 0},
        {"must not wait", PCM_NONBLOCK, {4, -EAGAIN}, false, -EAGAIN, 0, 4},
    };
    for (const bool capture : {false, true}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(capture ? "capture: " : "playback: ") + row.name);
            fake = fake_alsa();
            fake.results = row.results;
            fake.repeat_last_result = row.repeat_last;
            const pcm_ptr handle = open_pcm(row.flags | (capture ? PCM_IN : PCM_OUT));
            std::string got(40, '?');
            EXPECT_EQ(capture ? pcm_read(handle.get(), got.data(), 40) : write(handle),
                      row.expected);
            const std::string moved = data_.substr(0, row.frames * 4);
            EXPECT_EQ(fake.moved, moved);
            EXPECT_EQ(got,
                      (capture ? moved : "") + std::string(capture ? 40 - moved.size() : 40, '?'));
            EXPECT_EQ(fake.calls["prepare"], row.prepares);
            EXPECT_EQ(fake.calls["start"], capture ? 1 + row.prepares : 0);
            EXPECT_EQ(fake.calls["wait"] > 0, row.expected == -EIO);
            if (row.expected < 0 && row.expected != -EAGAIN) {
                const std::string text = std::to_string(row.frames) + " of 10 frames on hw:0,0";
                EXPECT_NE(strstr(pcm_get_error(handle.get()), text.c_str()), nullptr);
                EXPECT_NE(strstr(pcm_get_error(handle.get()), strerror(-row.expected)), nullptr);
            }
        }
    }
}

TEST_F(TinyalsaTransfer, CountsEachXrunOnceAndTellsOnceASecondAndAtTheEnd) {
    const struct {
        const char* name;
        snd_pcm_uframes_t avail;
        snd_pcm_state_t state;
        std::deque<long> results;
        unsigned long expected;
    } rows[] = {
        {"all of the buffer is ready", 960, SND_PCM_STATE_RUNNING, {}, 0},
        {"more than that", 961, SND_PCM_STATE_RUNNING, {}, 1},
        {"still", 5000, SND_PCM_STATE_RUNNING, {}, 1},
        {"caught up", 100, SND_PCM_STATE_RUNNING, {}, 1},
        {"half way", 100, SND_PCM_STATE_RUNNING, {4, -EPIPE}, 2},
        {"before", 100, SND_PCM_STATE_XRUN, {}, 3},
    };
    for (const unsigned flags : {PCM_OUT, PCM_IN}) {
        SCOPED_TRACE(flags);
        fake = fake_alsa();
        const log_recorder log;
        const std::string text =
            flags == PCM_IN ? "hw:0,0: frames came faster than they were read; overruns so far: "
                            : "hw:0,0: the card ran out of frames; underruns so far: ";
        const unsigned long before = pcm_xruns(flags);
        const unsigned long others = pcm_xruns(flags ^ PCM_IN);
        {
            const pcm_ptr handle = open_pcm(flags);
            ASSERT_EQ(pcm_get_buffer_size(handle.get()), 960U);
            for (const auto& row : rows) {
                SCOPED_TRACE(row.name);
                fake.avail = row.avail;
                fake.state = row.state;
                fake.results = row.results;
                EXPECT_EQ(flags == PCM_IN ? read(handle) : write(handle), 0);
                EXPECT_EQ(pcm_xruns(flags) - before, row.expected);
            }
            EXPECT_TRUE(log.has(ANDROID_LOG_WARN, "tinyalsa", text + "1"));
            EXPECT_EQ(log.lines().size(), 1U);
        }
        EXPECT_TRUE(log.has(ANDROID_LOG_WARN, "tinyalsa", text + "3"));
        EXPECT_EQ(pcm_xruns(flags ^ PCM_IN), others);
    }
}

TEST_F(TinyalsaTransfer, ACardThatCannotBePreparedOrStartedEndsTheTransfer) {
    fake.results = {-EPIPE};
    fake.failures = {{"prepare", -ENODEV}, {"start", -EIO}};
    EXPECT_EQ(write(open_pcm(PCM_OUT)), -ENODEV);
    EXPECT_EQ(fake.calls["prepare"], 1);
    EXPECT_EQ(read(open_pcm(PCM_IN)), -EIO);
    EXPECT_EQ(fake.calls["readi"], 0);
}

TEST_F(TinyalsaTransfer, AStoppedStreamGoesOnAndFrameCallsSayHowMuchMovedWithoutWaiting) {
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_NONBLOCK | PCM_NORESTART);
    EXPECT_EQ(pcm_stop(handle.get()), 0);
    fake.results = {4, -EAGAIN, -EAGAIN};
    EXPECT_EQ(pcm_writei(handle.get(), data_.data(), 10), 4);
    EXPECT_EQ(fake.calls["prepare"], 1);
    EXPECT_EQ(pcm_writei(handle.get(), data_.data(), 10), -EAGAIN);
    EXPECT_EQ(pcm_writei(handle.get(), data_.data(), UINT_MAX), -EINVAL);
    EXPECT_EQ(write(open_pcm(PCM_OUT | PCM_MMAP)), 0);
    EXPECT_EQ(read(open_pcm(PCM_IN | PCM_MMAP)), 0);
    EXPECT_EQ(fake.calls["mmap_writei"] + fake.calls["mmap_readi"], 2);
}

TEST_F(TinyalsaTransfer, BadArgumentsMoveNothing) {
    EXPECT_EQ(write(open_pcm(PCM_IN)), -EINVAL);
    const pcm_ptr out = open_pcm(PCM_OUT);
    EXPECT_EQ(read(out), -EINVAL);
    EXPECT_STREQ(pcm_get_error(out.get()), "hw:0,0 is open for playback only");
    EXPECT_EQ(pcm_write(out.get(), nullptr, 40), -EINVAL);
    EXPECT_EQ(write(nullptr), -EINVAL);
    EXPECT_EQ(read(nullptr), -EINVAL);
    EXPECT_EQ(fake.moved, "");
    EXPECT_EQ(write(out, 11), 0);
    EXPECT_EQ(fake.moved.size(), 8u) << "the partial frame stays out";
    unsigned avail = 77;
    timespec stamp = {};
    EXPECT_EQ(pcm_close(nullptr), -EINVAL);
    EXPECT_EQ(pcm_is_ready(nullptr), 0);
    EXPECT_NE(pcm_get_error(nullptr), nullptr);
    EXPECT_EQ(pcm_get_htimestamp(nullptr, &avail, &stamp), -EINVAL);
    EXPECT_EQ(pcm_get_htimestamp(out.get(), nullptr, nullptr), -EINVAL);
    EXPECT_EQ(pcm_prepare(nullptr), -EINVAL);
    EXPECT_EQ(pcm_get_config(nullptr), nullptr);
    EXPECT_EQ(pcm_get_buffer_size(nullptr) + pcm_frames_to_bytes(nullptr, 5) +
                  pcm_bytes_to_frames(nullptr, 5),
              0u);
}

TEST_F(TinyalsaTransfer, PositionsFollowTheStreamsState) {
    const struct {
        snd_pcm_state_t state;
        int failure, expected;
    } rows[] = {
        {SND_PCM_STATE_PREPARED, 0, 0},
        {SND_PCM_STATE_RUNNING, 0, 0},
        {SND_PCM_STATE_XRUN, 0, 0},
        {SND_PCM_STATE_SETUP, 0, -EBADFD},
        {SND_PCM_STATE_DISCONNECTED, 0, -ENODEV},
        {SND_PCM_STATE_RUNNING, -EIO, -EIO},
    };
    const pcm_ptr handle = open_pcm(PCM_OUT | PCM_MONOTONIC);
    timespec before = {}, stamp = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    unsigned avail = 0;
    EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
    EXPECT_GE(stamp.tv_sec, before.tv_sec) << "a stream that has not played is stamped now";
    EXPECT_LE(stamp.tv_sec, before.tv_sec + 1000) << "not the monotonic clock";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        fake.state = row.state;
        fake.avail = 1200;  // more than the buffer
        fake.stamp = {5, 6};
        fake.failures["status"] = row.failure;
        avail = 77;
        stamp = {-1, -1};
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), row.expected);
        EXPECT_EQ(avail, row.expected == 0 ? 1200u : 77u);
        EXPECT_EQ(stamp.tv_sec, row.expected == 0 ? 5 : -1);
        EXPECT_EQ(stamp.tv_nsec, row.expected == 0 ? 6 : -1);
    }
}

}  // namespace
