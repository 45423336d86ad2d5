// Sample-rate conversion: what comes out, in whatever pieces it goes in, and what is refused.

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <numeric>

#include <audio_utils/resampler.h>

#include "tests/support/tone.h"

namespace {

constexpr uint32_t kCardRateHz = 48000;
constexpr uint32_t kQuality = 4;

// Hands out a signal in pieces of its own sizes. `provider` is first, so it finds the rest.
struct scripted_provider {
    resampler_buffer_provider provider = {get, release};
    std::vector<int16_t> samples;
    size_t channels = 1;
    size_t most_frames = SIZE_MAX;  // in one piece
    size_t surplus_frames = 0;      // handed out beyond what was asked for
    size_t given_frames = 0;
    size_t lent_frames = 0;
    int result = 0;
    std::vector<size_t> asked;

    static int get(resampler_buffer_provider* provider, resampler_buffer* buffer) {
        auto& self = *reinterpret_cast<scripted_provider*>(provider);
        EXPECT_EQ(self.lent_frames, 0U) << "the piece before was not given back";
        self.asked.push_back(buffer->frame_count);
        const size_t left = self.samples.size() / self.channels - self.given_frames;
        const size_t wanted = std::min(buffer->frame_count, self.most_frames);
        buffer->frame_count = std::min(wanted + self.surplus_frames, left);
        buffer->raw = left > 0 ? self.samples.data() + self.given_frames * self.channels : nullptr;
        self.lent_frames = self.result == 0 ? buffer->frame_count : 0;
        return self.result;
    }
    static void release(resampler_buffer_provider* provider, resampler_buffer* buffer) {
        auto& self = *reinterpret_cast<scripted_provider*>(provider);
        EXPECT_LE(buffer->frame_count, self.lent_frames);
        self.given_frames += buffer->frame_count;
        self.lent_frames = 0;
    }
};

struct resampler_closer {
    void operator()(resampler_itfe* resampler) const { release_resampler(resampler); }
};
using resampler_ptr = std::unique_ptr<resampler_itfe, resampler_closer>;

resampler_ptr make(uint32_t in_rate, uint32_t out_rate, uint32_t channels,
                   resampler_buffer_provider* provider) {
    resampler_itfe* resampler = nullptr;
    EXPECT_EQ(create_resampler(in_rate, out_rate, channels, kQuality, provider, &resampler), 0);
    return resampler_ptr(resampler);
}

// A different tone on each channel.
std::vector<int16_t> tones(size_t frames, size_t channels) {
    std::vector<int16_t> samples;
    for (size_t frame = 0; frame < frames; ++frame) {
        for (size_t channel = 0; channel < channels; ++channel) {
            const double tone = tone_at(1000.0 * static_cast<double>(channel + 1), kCardRateHz,
                                        static_cast<double>(frame));
            samples.push_back(static_cast<int16_t>(std::lrint(16000 * tone)));
        }
    }
    return samples;
}

// All that one call gives of a whole signal.
std::vector<int16_t> in_one_piece(std::vector<int16_t> in, uint32_t out_rate, uint32_t channels) {
    const resampler_ptr resampler = make(kCardRateHz, out_rate, channels, nullptr);
    size_t in_frames = in.size() / channels;
    size_t out_frames = in_frames * 2;
    std::vector<int16_t> out(out_frames * channels);
    EXPECT_EQ(resampler->resample_from_input(resampler.get(), in.data(), &in_frames, out.data(),
                                             &out_frames),
              0);
    EXPECT_EQ(in_frames, in.size() / channels);
    out.resize(out_frames * channels);
    return out;
}

TEST(Resampler, GivesTheSameFramesInWhateverPiecesTheyAreAskedForAndProvided) {
    for (const uint32_t rate : {8000U, 11025U, 16000U, 44100U, 96000U}) {
        for (const size_t most : {SIZE_MAX, size_t{512}, size_t{7}}) {
            SCOPED_TRACE(std::to_string(rate) + " " + std::to_string(most));
            scripted_provider source;
            source.channels = 2;
            source.samples = tones(20'000, 2);
            source.most_frames = most;
            const resampler_ptr resampler = make(kCardRateHz, rate, 2, &source.provider);
            std::vector<int16_t> all;
            for (size_t frames = 1;; frames = frames * 5 % 1009 + 1) {
                std::vector<int16_t> out(2 * frames);
                size_t got = frames;
                ASSERT_EQ(resampler->resample_from_provider(resampler.get(), out.data(), &got), 0);
                ASSERT_LE(got, frames);
                all.insert(all.end(), out.begin(), out.begin() + static_cast<long>(2 * got));
                if (got < frames) {
                    break;  // only once the provider has no more
                }
            }
            EXPECT_EQ(source.given_frames, 20'000U);
            EXPECT_EQ(all, in_one_piece(source.samples, rate, 2));

            std::vector<double> left;
            for (size_t i = 200; i + 1 < all.size(); i += 2) {
                left.push_back(all[i]);
            }
            const tone_fit fit = fit_tone(left, 1000, rate);
            EXPECT_NEAR(fit.amplitude, 16000, 40);
            EXPECT_LT(fit.worst_residue, 40);
        }
    }
}

TEST(Resampler, AsksForWhatTheFramesTakeAndKeepsWhatItDidNotUse) {
    scripted_provider source;
    source.samples = tones(10'000, 1);
    const resampler_ptr resampler = make(kCardRateHz, 16000, 1, &source.provider);
    int16_t out[100];
    for (int i = 0; i < 30; ++i) {
        size_t frames = 100;
        ASSERT_EQ(resampler->resample_from_provider(resampler.get(), out, &frames), 0);
        ASSERT_EQ(frames, 100U);
        EXPECT_GT(resampler->delay_ns(resampler.get()), 0);
    }
    const size_t asked = std::accumulate(source.asked.begin(), source.asked.end(), size_t{0});
    EXPECT_EQ(source.asked.front(), 301U);
    EXPECT_GE(asked, 30U * 300);
    EXPECT_LE(asked, 30U * 300 + 1) << "what is left over is asked for again";
}

TEST(Resampler, StopsEarlyWhenTheProviderDoesAndGoesOnAfterwards) {
    scripted_provider source;
    source.samples = tones(3000, 1);
    const std::vector<int16_t> whole = in_one_piece(source.samples, 16000, 1);
    const std::vector<int16_t> all = source.samples;
    const resampler_ptr resampler = make(kCardRateHz, 16000, 1, &source.provider);
    std::vector<int16_t> out(1000, 99);
    source.samples.resize(1500);
    size_t frames = 600;
    EXPECT_EQ(resampler->resample_from_provider(resampler.get(), out.data(), &frames), 0);
    EXPECT_EQ(frames, 500U);
    EXPECT_EQ(out[500], 99);

    source.samples = all;
    source.result = -EIO;  // with frames, which must not be touched
    frames = 100;
    EXPECT_EQ(resampler->resample_from_provider(resampler.get(), out.data() + 500, &frames), 0);
    EXPECT_EQ(frames, 0U);
    EXPECT_EQ(source.given_frames, 1500U);

    source.result = 0;
    source.surplus_frames = 64;
    for (const size_t from : {size_t{500}, size_t{700}}) {
        frames = from == 500 ? 200 : 300;
        EXPECT_EQ(resampler->resample_from_provider(resampler.get(), out.data() + from, &frames),
                  0);
    }
    EXPECT_EQ(out, whole);
}

TEST(Resampler, IsAsGoodAsNewAfterAReset) {
    for (const uint32_t channels : {1U, 2U, 5U}) {
        SCOPED_TRACE(channels);
        scripted_provider source;
        source.samples = tones(1000, channels);
        source.channels = channels;
        const resampler_ptr resampler = make(kCardRateHz, 96000, channels, &source.provider);
        std::vector<int16_t> out(size_t{2000} * channels);
        // An odd number of frames leaves half of the last input frame to be used.
        for (size_t frames : {size_t{333}, size_t{2000}}) {
            source.given_frames = 0;
            const bool is_last = frames == 2000;
            EXPECT_EQ(resampler->resample_from_provider(resampler.get(), out.data(), &frames), 0);
            if (!is_last) {
                resampler->reset(resampler.get());
            }
        }
        EXPECT_EQ(out, in_one_piece(source.samples, 96000, channels));
    }
}

TEST(Resampler, RefusesWhatItCannotDo) {
    scripted_provider source;
    resampler_buffer_provider half = {scripted_provider::get, nullptr};
    const struct {
        uint32_t in_rate, out_rate, channels, quality;
        resampler_buffer_provider* provider;
        int result;
    } rows[] = {
        {48000, 44100, 2, 0, nullptr, -EINVAL},
        {48000, 44100, 2, 10, nullptr, -EINVAL},
        {48000, 44100, 2, 4, &half, -EINVAL},
        {0, 44100, 2, 4, nullptr, -ENODEV},
        {48000, 0, 2, 4, nullptr, -ENODEV},
        {48000, 44100, 0, 4, nullptr, -ENODEV},
        {48000, 44100, 1U << 30, 4, nullptr, -ENODEV},
        {48000, 44100, 2, 1, nullptr, 0},
        {48000, 44100, 2, 9, &source.provider, 0},
    };
    for (const auto& row : rows) {
        auto* resampler = reinterpret_cast<resampler_itfe*>(&source);
        EXPECT_EQ(create_resampler(row.in_rate, row.out_rate, row.channels, row.quality,
                                   row.provider, &resampler),
                  row.result);
        EXPECT_EQ(resampler != nullptr, row.result == 0);
        release_resampler(resampler);
    }
    EXPECT_EQ(create_resampler(48000, 44100, 2, 4, nullptr, nullptr), -EINVAL);

    const resampler_ptr fed = make(48000, 44100, 2, nullptr);
    const resampler_ptr pulling = make(48000, 44100, 2, &source.provider);
    int16_t sample[2] = {};
    size_t frames = 1;
    EXPECT_EQ(fed->resample_from_provider(fed.get(), sample, &frames), -ENOSYS);
    EXPECT_EQ(pulling->resample_from_input(pulling.get(), sample, &frames, sample, &frames),
              -ENOSYS);
    EXPECT_EQ(pulling->resample_from_provider(pulling.get(), nullptr, &frames), -EINVAL);
    EXPECT_EQ(pulling->resample_from_provider(pulling.get(), sample, nullptr), -EINVAL);
    EXPECT_EQ(fed->resample_from_input(fed.get(), sample, nullptr, sample, &frames), -EINVAL);
    EXPECT_TRUE(source.asked.empty());
}

}  // namespace
