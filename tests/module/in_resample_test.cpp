// Reading at other rates than the card's: whole periods through the resampler.

#include <cerrno>
#include <cstring>

#include <audio_utils/resampler.h>

#include "hal/in_provider.h"
#include "tests/support/module_fixture.h"
#include "tests/support/tone.h"

namespace {

constexpr uint32_t mono = AUDIO_CHANNEL_IN_MONO;
constexpr uint32_t stereo = AUDIO_CHANNEL_IN_STEREO;
constexpr uint32_t card_rate = 48000;
constexpr size_t period_frames = 512;
constexpr size_t signal_frames = 40 * period_frames;

// A tone at a third of the rate's own band on the left and a click every 1000 frames on the right.
std::vector<int16_t> signal_for(uint32_t rate) {
    std::vector<int16_t> samples;
    for (size_t i = 0; i < signal_frames; ++i) {
        const double tone = tone_at(rate / 6.0, card_rate, static_cast<double>(i));
        samples.push_back(static_cast<int16_t>(std::lrint(20000 * tone)));
        samples.push_back(i % 1000 == 500 ? 30000 : 0);
    }
    return samples;
}

// The signal converted in one piece.
std::vector<int16_t> reference(std::vector<int16_t> stereo_samples, uint32_t rate) {
    struct resampler_itfe* resampler = nullptr;
    EXPECT_EQ(create_resampler(card_rate, rate, 2, 4, nullptr, &resampler), 0);
    size_t in_frames = stereo_samples.size() / 2;
    size_t out_frames = in_frames;
    std::vector<int16_t> out(out_frames * 2);
    resampler->resample_from_input(resampler, stereo_samples.data(), &in_frames, out.data(),
                                   &out_frames);
    release_resampler(resampler);
    out.resize(out_frames * 2);
    return out;
}

class InResample : public module_test {
  protected:
    void play_to_card(const std::vector<int16_t>& samples) {
        reset_tinyalsa();
        tinyalsa().sound.assign(reinterpret_cast<const char*>(samples.data()), samples.size() * 2);
    }
    // Reads in pieces of all sizes, some below a frame, with a standby now and then.
    std::vector<int16_t> read_all(struct audio_stream_in* stream, size_t frames,
                                  size_t frame_bytes) {
        std::string all;
        size_t piece = 1;
        while (all.size() < frames * frame_bytes) {
            piece = piece * 7 % 4093;
            std::string data(piece, 'x');
            EXPECT_EQ(stream->read(stream, data.data(), piece), static_cast<ssize_t>(piece));
            all += data.substr(0, piece / frame_bytes * frame_bytes);
            EXPECT_EQ(data.substr(piece / frame_bytes * frame_bytes),
                      std::string(piece % frame_bytes, 'x'));
            if (piece % 5 == 0) {
                stream->common.standby(&stream->common);
            }
        }
        std::vector<int16_t> samples(frames * frame_bytes / 2);
        memcpy(samples.data(), all.data(), samples.size() * 2);
        return samples;
    }

    struct resampler_buffer next(struct audio_stream_in* stream, size_t frames, int result) {
        struct resampler_buffer buffer = {{this}, frames};  // poison
        EXPECT_EQ(rsrc_get_next_buffer(&to_hal_stream_in(stream)->buf_provider, &buffer), result);
        return buffer;
    }
};

}  // namespace

TEST_F(InResample, GivesWhatOneConversionOfTheWholeSignalGives) {
    for (const uint32_t rate : {8000U, 11025U, 12000U, 16000U, 22050U, 24000U, 32000U, 44100U}) {
        const std::vector<int16_t> signal = signal_for(rate);
        std::vector<int16_t> expected = reference(signal, rate);
        expected.resize(expected.size() / 8 * 6);
        for (const uint32_t mask : {stereo, uint32_t{AUDIO_CHANNEL_INDEX_MASK_2}}) {
            SCOPED_TRACE(rate);
            play_to_card(signal);
            struct audio_stream_in* const stream = open_input(rate, mask);
            EXPECT_TRUE(read_all(stream, expected.size() / 2, 4) == expected);
            for (const unsigned bytes : tinyalsa().reads) {
                EXPECT_EQ(bytes, period_frames * 4);
            }
            EXPECT_GT(tinyalsa().opens.size(), 1U);
            close_input(stream);
        }
        std::vector<int16_t> folded;
        std::vector<double> left;
        for (size_t i = 0; i < expected.size(); i += 2) {
            folded.push_back(static_cast<int16_t>(expected[i] / 2 + expected[i + 1] / 2));
            if (i >= 400) {
                left.push_back(expected[i]);
            }
        }
        for (const uint32_t mask : {mono, uint32_t{AUDIO_CHANNEL_INDEX_MASK_1}}) {
            play_to_card(signal);
            struct audio_stream_in* const stream = open_input(rate, mask);
            EXPECT_TRUE(read_all(stream, folded.size(), 2) == folded);
            close_input(stream);
        }
        // The reference itself is what it should be.
        const tone_fit fit = fit_tone(left, rate / 6.0, rate);
        EXPECT_NEAR(fit.amplitude, 20000, 100);
        EXPECT_LT(fit.worst_residue, 100);
    }
}

TEST_F(InResample, AMonoReadLargerThanItsBufferLosesNothing) {
    const size_t frames = 131072 + 1000;
    struct audio_stream_in* const stream = open_input(44100, mono);
    std::vector<int16_t> samples;
    for (size_t i = 0; i < 2 * 150'000; ++i) {
        samples.push_back(static_cast<int16_t>(i * 7919 % 20011));
    }
    play_to_card(samples);
    const std::vector<int16_t> expected = reference(samples, 44100);
    std::vector<int16_t> read(frames);
    stream->read(stream, read.data(), frames * 2);
    for (size_t i = 0; i < frames; ++i) {
        ASSERT_EQ(read[i], expected[2 * i] / 2 + expected[2 * i + 1] / 2) << i;
    }
    close_input(stream);
}

TEST_F(InResample, ProvidesTheRestOfThePeriodBeforeTheNextOne) {
    play_to_card(signal_for(16000));
    struct audio_stream_in* const stream = open_input(16000);
    hal_stream_in* const in = to_hal_stream_in(stream);
    struct resampler_buffer_provider* const provider = &in->buf_provider;
    EXPECT_EQ(next(stream, 100, -ENODEV).raw, nullptr);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "in->pcm null pointer"), 1);
    EXPECT_EQ(rsrc_get_next_buffer(nullptr, nullptr), -EINVAL);
    EXPECT_EQ(rsrc_get_next_buffer(provider, nullptr), -EINVAL);

    stream->read(stream, in, 0);  // opens the card and takes nothing
    const struct {
        size_t wanted, given, used;
        size_t at;  // frame of the signal
        int fetches;
    } rows[] = {
        {200, 200, 200, 0, 1},    {1000, 312, 12, 200, 0}, {300, 300, 300, 212, 0},
        {2000, 512, 0, 512, 1},   {512, 512, 512, 512, 0}, {1, 1, 1, 1024, 1},
        {511, 511, 600, 1025, 0}, {1, 1, 1, 1536, 1},
    };
    for (const auto& row : rows) {
        log.clear();
        struct resampler_buffer buffer = next(stream, row.wanted, 0);
        EXPECT_EQ(buffer.frame_count, row.given);
        EXPECT_TRUE(std::string(static_cast<char*>(buffer.raw), row.given * 4) ==
                    tinyalsa().sound.substr(row.at * 4, row.given * 4));
        EXPECT_EQ(log.lines().back().text, "get_next_buffer before src frame req(" +
                                               std::to_string(row.wanted) + ") beread(" +
                                               std::to_string(512 - row.at % 512) + ")");
        EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                            "get_next_buffer() pcm_read 512  time(10)success"),
                  row.fetches);
        buffer.frame_count = row.used;
        rsrc_release_buffer(provider, &buffer);
        EXPECT_EQ(log.lines().back().text,
                  "release_buffer pcm total frames(" + std::to_string(512 - row.at % 512) +
                      ") To release frame(" + std::to_string(row.used) + ")");
    }
    rsrc_release_buffer(provider, nullptr);
    EXPECT_EQ(in->frames_in, 511U);
    EXPECT_EQ(tinyalsa().reads.size(), 4U);
    close_input(stream);
}

TEST_F(InResample, AFailingCardEndsTheReadAndTheNextOneGoesOn) {
    for (const uint32_t mask : {stereo, mono}) {
        const std::vector<int16_t> signal = signal_for(16000);
        play_to_card(signal);
        struct audio_stream_in* const stream = open_input(16000, mask);
        const size_t frame_bytes = mask == mono ? 2 : 4;
        tinyalsa().failing_from = 3;
        std::string data(600 * frame_bytes, 'x');
        log.clear();
        EXPECT_EQ(stream->read(stream, data.data(), data.size()),
                  static_cast<ssize_t>(data.size()));
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                            "get_next_buffer() pcm_read error -5 overrun"),
                  2)
            << "once for the frames that were short, once for none";
        // What came before the failure is stored. The rest is left alone, or, where frames are
        // folded, what their buffer held before.
        const size_t good = 1024 * 16000 / 48000 + 1;
        const std::string rest(data.size() - good * frame_bytes, mask == mono ? '\0' : 'x');
        EXPECT_TRUE(data.substr(good * frame_bytes) == rest);
        EXPECT_EQ(to_hal_stream_in(stream)->frames_in, 0U);

        tinyalsa().failing_from = 0;
        const std::vector<int16_t> expected = reference(signal, 16000);
        std::vector<int16_t> next(2 * 100);
        stream->read(stream, next.data(), 100 * frame_bytes);
        for (size_t i = 0; i < 100; ++i) {
            const size_t at = 2 * (good + i);
            ASSERT_EQ(next[mask == mono ? i : 2 * i],
                      mask == mono ? expected[at] / 2 + expected[at + 1] / 2 : expected[at])
                << i;
        }
        close_input(stream);
    }
}

TEST_F(InResample, ACardThatFailsOnceGoesOnBehindWhatItGave) {
    const std::vector<int16_t> signal = signal_for(16000);
    play_to_card(signal);
    tinyalsa().failing_from = 3;
    tinyalsa().failing_until = 4;
    struct audio_stream_in* const stream = open_input(16000);
    std::vector<int16_t> data(2 * 600);
    stream->read(stream, data.data(), data.size() * 2);
    std::vector<int16_t> expected = reference(signal, 16000);
    expected.resize(data.size());
    EXPECT_TRUE(data == expected);
    close_input(stream);
}

TEST_F(InResample, APeriodWithoutASizeIsRefused) {
    struct audio_stream_in* const stream = open_input(16000);
    tinyalsa().read_nothing = true;
    char data[64];
    EXPECT_EQ(stream->read(stream, data, sizeof(data)), 64);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "size is 0"), 1);
    EXPECT_TRUE(tinyalsa().reads.empty());
    tinyalsa().read_nothing = false;
    EXPECT_EQ(stream->read(stream, data, sizeof(data)), 64);
    EXPECT_EQ(tinyalsa().reads.size(), 1U);
    EXPECT_EQ(log.count(ANDROID_LOG_VERBOSE, "audio_hal",
                        "in_read: resample_from_provider req_frame(16) real_frame(16)\n"),
              1);
    close_input(stream);
}
