// Reading at the card's own rate: what reaches the caller, when the card is opened, and what
// happens when it is not there.

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "hal/in_pcm_config.h"
#include "tests/support/module_fixture.h"

namespace {

constexpr uint32_t mono = AUDIO_CHANNEL_IN_MONO;
constexpr size_t hal_buffer_frames = 131072;

class InRead : public module_test {
  protected:
    // What a read stores, and that it stores nothing around it.
    std::string read(struct audio_stream_in* stream, size_t bytes, ssize_t result) {
        constexpr size_t fence = 64;
        std::string data(bytes + 2 * fence, 'x');
        EXPECT_EQ(stream->read(stream, data.data() + fence, bytes), result);
        EXPECT_EQ(data.substr(0, fence), std::string(fence, 'x'));
        EXPECT_EQ(data.substr(fence + bytes), std::string(fence, 'x'));
        return data.substr(fence, bytes);
    }
    std::string read(struct audio_stream_in* stream, size_t bytes) {
        return read(stream, bytes, static_cast<ssize_t>(bytes));
    }

    static std::string bytes_of(const std::vector<int16_t>& samples) {
        return {reinterpret_cast<const char*>(samples.data()), samples.size() * 2};
    }
    // What stereo frames are when folded.
    static std::string folded(const std::string& stereo) {
        std::vector<int16_t> samples(stereo.size() / 2);
        memcpy(samples.data(), stereo.data(), samples.size() * 2);
        std::vector<int16_t> result;
        for (size_t i = 0; i + 1 < samples.size(); i += 2) {
            result.push_back(static_cast<int16_t>(samples[i] / 2 + samples[i + 1] / 2));
        }
        return bytes_of(result);
    }

    const struct pcm_config config_before_ = pcm_config_ai_low_latency;
    ~InRead() override { pcm_config_ai_low_latency = config_before_; }
};

}  // namespace

TEST_F(InRead, OpensTheCardOnceUntilStandbyAndLosesNothing) {
    tinyalsa().sound = audio(3 * 2048 + 1000);
    struct audio_stream_in* const stream = open_input();
    std::string data = read(stream, 2048);
    data += read(stream, 2048);
    ASSERT_EQ(tinyalsa().opens.size(), 1U);
    EXPECT_EQ(tinyalsa().opens[0].card, 0U);
    EXPECT_EQ(tinyalsa().opens[0].device, 0U);
    EXPECT_EQ(tinyalsa().opens[0].flags, 0x10000000U);
    EXPECT_EQ(tinyalsa().opens[0].config.period_size, 512U);
    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    EXPECT_EQ(tinyalsa().open_handles, 0);
    data += read(stream, 3048);
    EXPECT_EQ(tinyalsa().opens.size(), 2U);
    EXPECT_TRUE(data == tinyalsa().sound);
    EXPECT_EQ(tinyalsa().reads, (std::vector<unsigned>{2048, 2048, 3048}));
    close_input(stream);
}

TEST_F(InRead, FoldsEachHalfTowardZero) {
    const struct {
        int16_t left, right, mono;
    } rows[] = {
        {0, 0, 0},           {1, 1, 0},           {-1, -1, 0},           {3, 3, 2},
        {-3, -3, -2},        {-3, 3, 0},          {32767, 32767, 32766}, {-32768, -32768, -32768},
        {32767, -32768, -1}, {-32768, 32767, -1}, {-32767, 1, -16383},
    };
    std::vector<int16_t> frames;
    std::vector<int16_t> expected;
    for (const auto& row : rows) {
        frames.push_back(row.left);
        frames.push_back(row.right);
        expected.push_back(row.mono);
    }
    for (const uint32_t mask : {mono, uint32_t{AUDIO_CHANNEL_INDEX_MASK_1}}) {
        reset_tinyalsa();
        tinyalsa().sound = bytes_of(frames);
        struct audio_stream_in* const stream = open_input(48000, mask);
        log.clear();
        EXPECT_EQ(read(stream, expected.size() * 2), bytes_of(expected));
        EXPECT_EQ(tinyalsa().reads, (std::vector<unsigned>{sizeof(rows) / sizeof(rows[0]) * 4}));
        EXPECT_EQ(log.count(ANDROID_LOG_VERBOSE, "audio_hal",
                            "in_read: channel_mask is AUDIO_CHANNEL_IN_MONO\n"),
                  1);
        EXPECT_EQ(log.count(ANDROID_LOG_VERBOSE, "audio_hal",
                            "audio_hal_in_stream:begin channel exchange\n"),
                  1);
        close_input(stream);
    }
}

TEST_F(InRead, AMonoReadLargerThanItsBufferIsDoneInPieces) {
    const size_t frames = 2 * hal_buffer_frames + 5;
    tinyalsa().sound = audio(frames * 4);
    struct audio_stream_in* const stream = open_input(48000, mono);
    EXPECT_TRUE(read(stream, 2 * frames + 1).substr(0, 2 * frames) == folded(tinyalsa().sound));
    EXPECT_EQ(tinyalsa().reads, (std::vector<unsigned>{524288, 524288, 20}));
    close_input(stream);
}

TEST_F(InRead, OtherCardLayoutsAreTakenAsTheyAre) {
    // One channel is not folded; of four, two are.
    tinyalsa().sound = audio(64);
    pcm_config_ai_low_latency.channels = 1;
    struct audio_stream_in* const one = open_input(48000, mono);
    EXPECT_EQ(to_hal_stream_in(one)->buffer_hal, nullptr);
    EXPECT_EQ(read(one, 64), tinyalsa().sound);
    close_input(one);
    reset_tinyalsa();
    tinyalsa().sound = bytes_of({10, 20, 99, 99, -7, 9, 99, 99});
    pcm_config_ai_low_latency.channels = 4;
    struct audio_stream_in* const four = open_input(48000, mono);
    EXPECT_EQ(read(four, 4), bytes_of({15, 1}));
    close_input(four);
}

TEST_F(InRead, NothingIsStoredBeyondTheBufferWhateverWasSetAfterOpening) {
    tinyalsa().sound = audio(1 << 20);
    for (const uint32_t rate : {48000U, 44100U, 8000U}) {
        for (const uint32_t mask :
             {mono, uint32_t{AUDIO_CHANNEL_IN_STEREO}, uint32_t{0x4}, uint32_t{0x8000C},
              uint32_t{AUDIO_CHANNEL_INDEX_MASK_1}, uint32_t{AUDIO_CHANNEL_INDEX_MASK_2}}) {
            for (const uint32_t channels : {1U, 2U, 6U}) {
                pcm_config_ai_low_latency.channels = channels;
                struct audio_stream_in* const stream = open_input(rate, mask);
                if (stream == nullptr) {
                    continue;  // 0x8000C may be three positions
                }
                for (const uint32_t format : {1U, 2U, 3U, 5U, 6U, 0x9000000U, 0xD000000U}) {
                    SCOPED_TRACE(testing::Message() << rate << std::hex << " " << mask << " "
                                                    << channels << " " << format);
                    stream->common.set_format(&stream->common, static_cast<audio_format_t>(format));
                    for (const size_t bytes : {0U, 1U, 5U, 6U, 2048U, 3333U}) {
                        read(stream, bytes);
                    }
                }
                close_input(stream);
            }
        }
    }
}

TEST_F(InRead, SleepsForAsLongAsTheDataWouldHaveTakenWhenThereIsNoCard) {
    const struct {
        uint32_t rate, mask;
        size_t bytes;
        uint64_t sleep_us;
    } rows[] = {
        {48000, AUDIO_CHANNEL_IN_STEREO, 2048, 10666},
        {16000, AUDIO_CHANNEL_IN_STEREO, 2048, 32000},
        {44100, mono, 1025, 11621},
    };
    for (const auto& row : rows) {
        struct audio_stream_in* const stream = open_input(row.rate, row.mask);
        tinyalsa().not_ready = "no such card";
        faults().sleeps_us.clear();
        log.clear();
        const std::string nothing = read(stream, row.bytes);
        if (row.mask == mono) {
            EXPECT_EQ(nothing.substr(0, 1024), std::string(1024, '\0')) << "an unused buffer";
        }
        EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>{row.sleep_us}));
        std::vector<log_line> errors;
        for (const log_line& line : log.lines()) {
            if (line.priority == ANDROID_LOG_ERROR) {
                errors.push_back(line);
            }
        }
        EXPECT_EQ(errors,
                  (std::vector<log_line>{
                      {ANDROID_LOG_ERROR, "audio_hal_hpi", "pcm_open() failed: no such card"},
                      {ANDROID_LOG_ERROR, "audio_hal", "hpi_open failed(fffffff4)"},
                      {ANDROID_LOG_ERROR, "audio_hal",
                       "in_read: usecase 6 write failed  sleeping for buffer duration"}}));
        EXPECT_TRUE(standby_of(stream));
        tinyalsa().not_ready.clear();
        read(stream, row.bytes);
        EXPECT_FALSE(standby_of(stream)) << "the next read tries again";
        close_input(stream);
    }
    tinyalsa().no_handle = true;
    struct audio_stream_in* const stream = open_input();
    read(stream, 64);
    EXPECT_EQ(log.count("pcm_open() failed: Cannot allocate memory"), 1);
    close_input(stream);
}

TEST_F(InRead, RefusesWhatHasNoDuration) {
    struct audio_stream_in* const stream = open_input();
    struct audio_stream* const common = &stream->common;
    EXPECT_EQ(stream->read(nullptr, common, 4), -EINVAL);
    EXPECT_EQ(stream->read(stream, nullptr, 4), -EINVAL);
    EXPECT_EQ(stream->read(stream, common, size_t{1} << 31), -EINVAL);
    faults().failing_mutexes = {&to_hal_stream_in(stream)->lock.native};  // would say so
    log.clear();
    common->set_sample_rate(common, 0);
    read(stream, 64, -EINVAL);
    common->set_sample_rate(common, 48000);
    common->set_format(common, static_cast<audio_format_t>(7));
    read(stream, 64, -EINVAL);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal", "in_read: stream framesize or sample_rate is 0"),
        2);
    EXPECT_EQ(log.count_containing("mutex"), 0);
    EXPECT_TRUE(tinyalsa().opens.empty());
    reset_faults();
    common->set_format(common, AUDIO_FORMAT_PCM_16_BIT);

    to_hal_stream_in(stream)->usecase = 3;
    EXPECT_EQ(read(stream, 64), std::string(64, 'x'));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in_read:Invalid usecase 3"), 1);
    EXPECT_TRUE(tinyalsa().opens.empty());
    EXPECT_TRUE(faults().sleeps_us.empty());
    EXPECT_FALSE(is_held(to_hal_stream_in(stream)->lock));
    close_input(stream);
}

TEST_F(InRead, CountsFramesByTheRateAndFormatThatWereSetLast) {
    struct audio_stream_in* const stream = open_input();
    struct audio_stream* const common = &stream->common;
    read(stream, 2048);
    common->set_sample_rate(common, 8000);
    common->set_format(common, AUDIO_FORMAT_PCM_32_BIT);
    read(stream, 2048);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal", "frame_size_hal:4"), 1);
    EXPECT_EQ(log.count(ANDROID_LOG_VERBOSE, "audio_hal", "in_read: user_frames(512/10ms)\n"), 1);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal", "frame_size_hal:8"), 1);
    EXPECT_EQ(log.count(ANDROID_LOG_VERBOSE, "audio_hal", "in_read: user_frames(256/32ms)\n"), 1);
    close_input(stream);
}

TEST_F(InRead, HoldsTheLocksThatItShouldAndGoesOnWithoutThem) {
    for (const uint32_t rate : {48000U, 16000U}) {
        struct audio_stream_in* const stream = open_input(rate, mono);
        hal_stream_in* const in = to_hal_stream_in(stream);
        std::vector<std::string> seen;
        const auto look = [&](const char* where) {
            return [&seen, in, where] {
                seen.push_back(std::string(where) + (is_held(in->lock) ? " stream" : "") +
                               (is_held(in->dev->lock) ? " device" : ""));
            };
        };
        tinyalsa().in_open = look("open:");
        tinyalsa().in_read = look("read:");
        tinyalsa().in_close = look("close:");
        faults().in_usleep = look("sleep:");
        read(stream, 64);
        stream->common.standby(&stream->common);
        tinyalsa().no_handle = true;
        read(stream, 64);
        EXPECT_EQ(seen,
                  (std::vector<std::string>{"open: stream device", "read: stream", "close: stream",
                                            "open: stream device", "sleep:"}));
        reset_tinyalsa();
        log.clear();
        faults().in_usleep = nullptr;
        faults().failing_mutexes = {&in->lock.native, &in->dev->lock.native};
        read(stream, 64);
        stream->common.standby(&stream->common);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in_read: mutex lock fail"), 2);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in_read: mutex unlock fail"), 2);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in_standby: mutex lock fail"), 1);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in_standby: mutex unlock fail"), 1);
        EXPECT_EQ(tinyalsa().opens.size(), 1U);
        reset_faults();
        close_input(stream);
    }
}
