// Stream data into sound: bit for bit, however it is cut, and whatever it is.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include <zuavplayer/player_types.h>

#include "player_service/playback/sound_decoder.h"
#include "tests/support/encoded_stream.h"

namespace player_service {
namespace {

using namespace android;

struct decoded {
    std::vector<int16_t> samples;
    std::vector<std::pair<size_t, uint32_t>> timestamps;  // frame of the sound, pts
    size_t damaged = 0;
    audio_format format;
};

class decoding {
  public:
    explicit decoding(const decoder_config& config) : decoder_(make_decoder(config)) {}

    // An allocation of exactly these bytes: one read beyond them is found by a sanitizer.
    void feed(const uint8_t* bytes, size_t size, uint32_t pts_ms) {
        const std::vector<uint8_t> exact(bytes, bytes + size);
        decoder_->decode(exact.data(), exact.size(), pts_ms, keep());
    }
    // What has come of it so far, the decoder having been told that more is late.
    const decoded& starve() {
        decoder_->decode_held(keep());
        return result_;
    }
    decoded finish() {
        decoder_->finish(keep());
        return result_;
    }

  private:
    sound_decoder::output keep() {
        return [this](const decoded_sound& sound) {
            result_.damaged += sound.damaged ? 1 : 0;
            if (sound.frames > 0) {
                result_.format = sound.format;
            }
            const unsigned channels = std::max(1U, result_.format.channels);
            if (sound.pts_ms != ZU_PTS_NONE) {
                result_.timestamps.emplace_back(result_.samples.size() / channels, sound.pts_ms);
            }
            result_.samples.insert(result_.samples.end(), sound.samples,
                                   sound.samples + sound.frames * channels);
            return true;
        };
    }

    std::unique_ptr<sound_decoder> decoder_;
    decoded result_;
};

// Cuts a stream whose frame `starts` (in bytes) have a timestamp each, as a client does: never over
// such a start, the timestamp with the first piece behind it.
decoded decode_cut(const decoder_config& config, const std::vector<uint8_t>& bytes,
                   const std::vector<size_t>& starts, size_t largest_piece, uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<size_t> piece(1, largest_piece);
    decoding run(config);
    for (size_t at = 0, next = 0; at < bytes.size();) {
        uint32_t pts_ms = ZU_PTS_NONE;
        if (next < starts.size() && starts[next] == at) {
            pts_ms = static_cast<uint32_t>(next * 100);
            ++next;
        }
        const size_t limit = next < starts.size() ? starts[next] : bytes.size();
        const size_t size = std::min(piece(random), limit - at);
        run.feed(bytes.data() + at, size, pts_ms);
        at += size;
    }
    return run.finish();
}

struct stream_case {
    codec which;
    audio_format format;
};

class CompressedStream : public testing::TestWithParam<stream_case> {
  protected:
    const std::vector<encoded_frame> frames_ = encode(GetParam().which, GetParam().format, 12);
    const decoder_config config_ = {ZU_ADEC_AC3, {}};
};

TEST_P(CompressedStream, DecodesBitForBitWithTimestampsHoweverItIsCut) {
    std::vector<size_t> starts;
    std::vector<std::pair<size_t, uint32_t>> expected;
    size_t bytes = 0;
    size_t sound = 0;
    for (size_t i = 0; i < frames_.size(); ++i) {
        starts.push_back(bytes);
        expected.emplace_back(sound, static_cast<uint32_t>(i * 100));
        bytes += frames_[i].bytes.size();
        sound += frames_[i].samples.size() / GetParam().format.channels;
    }
    for (const size_t largest : {1U, 7U, 1024U, 65536U}) {
        SCOPED_TRACE(largest);
        const decoded got = decode_cut(config_, bytes_of(frames_), starts, largest, 5);
        EXPECT_EQ(got.format, GetParam().format);
        EXPECT_EQ(got.damaged, 0U);
        EXPECT_EQ(got.timestamps, expected);
        EXPECT_TRUE(got.samples == samples_of(frames_)) << got.samples.size();
    }
}

TEST_P(CompressedStream, GivesOutWholeUnitsWhenMoreIsLateAndNeverAPartOfOne) {
    const unsigned channels = GetParam().format.channels;
    const size_t unit_frames = frames_[0].samples.size() / channels;
    decoding run(config_);
    size_t fed = 0;
    for (const encoded_frame& frame : frames_) {
        SCOPED_TRACE(fed);
        const size_t half = frame.bytes.size() / 2;
        run.feed(frame.bytes.data(), half, ZU_PTS_NONE);
        EXPECT_EQ(run.starve().samples.size(), fed * unit_frames * channels);
        run.feed(frame.bytes.data() + half, frame.bytes.size() - half, ZU_PTS_NONE);
        EXPECT_EQ(run.starve().samples.size(), ++fed * unit_frames * channels);
    }
    const decoded got = run.finish();
    EXPECT_EQ(got.damaged, 0U);
    EXPECT_TRUE(got.samples == samples_of(frames_));
}

TEST_P(CompressedStream, FindsASingleWrongBitByItsChecksum) {
    std::vector<encoded_frame> frames = frames_;
    frames[4].bytes[frames[4].bytes.size() * 3 / 4] ^= 0x10;
    const decoded got = decode_cut(config_, bytes_of(frames), {}, 1024, 1);
    EXPECT_EQ(got.damaged, 1U);
    EXPECT_EQ(got.samples.size(), samples_of(frames_).size());
}

TEST_P(CompressedStream, ConcealsOrSkipsDamageAndDecodesWhatFollows) {
    std::vector<encoded_frame> frames = frames_;
    for (size_t at = 40; at < frames[4].bytes.size(); at += 9) {
        frames[4].bytes[at] ^= 0x5A;
    }
    frames[8].bytes.resize(frames[8].bytes.size() / 2);  // bytes were lost
    const decoded got = decode_cut(config_, bytes_of(frames), {}, 1024, 1);
    EXPECT_GE(got.damaged, 2U);
    const std::vector<int16_t> before(samples_of({frames_.begin(), frames_.begin() + 4}));
    ASSERT_GE(got.samples.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), got.samples.begin()));
    // From then on only the noise differs that decoders fill silent bands with.
    const std::vector<int16_t>& last = frames_.back().samples;
    ASSERT_GE(got.samples.size(), last.size());
    double signal = 0;
    double difference = 0;
    for (size_t i = 1; i <= last.size(); ++i) {
        const double wanted = last[last.size() - i];
        signal += wanted * wanted;
        difference += std::pow(wanted - got.samples[got.samples.size() - i], 2);
    }
    EXPECT_LT(difference, signal / 10);
}

INSTANTIATE_TEST_SUITE_P(Streams, CompressedStream,
                         testing::Values(stream_case{codec::ac3, {2, 48000}},
                                         stream_case{codec::ac3, {6, 48000}},
                                         stream_case{codec::ac3, {1, 44100}},
                                         stream_case{codec::eac3, {2, 48000}},
                                         stream_case{codec::eac3, {6, 44100}}));

TEST(CompressedStreams, MayFollowEachOther) {
    std::vector<encoded_frame> frames = encode(codec::ac3, {2, 48000}, 3);
    const std::vector<encoded_frame> others = encode(codec::eac3, {2, 48000}, 3, 2);
    frames.insert(frames.end(), others.begin(), others.end());
    const decoded got = decode_cut({ZU_ADEC_AC3, {}}, bytes_of(frames), {}, 1024, 1);
    EXPECT_TRUE(got.samples == samples_of(frames));
}

TEST(CompressedStreams, KeepNothingThatIsNoFrame) {
    const std::vector<uint8_t> zeros(1U << 20);
    decoding run({ZU_ADEC_AC3, {}});
    run.feed(zeros.data(), zeros.size(), ZU_PTS_NONE);
    const std::vector<encoded_frame> frames = encode(codec::eac3, {2, 48000}, 2);
    const std::vector<uint8_t> bytes = bytes_of(frames);
    EXPECT_EQ(run.starve().damaged, 1U) << "given up before the stream ends";
    run.feed(bytes.data(), bytes.size(), ZU_PTS_NONE);
    EXPECT_TRUE(run.finish().samples == samples_of(frames));
}

TEST(CompressedStreams, OfNoiseAreNeverFatal) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        std::vector<uint8_t> noise(20000);
        for (uint8_t& byte : noise) {
            byte = static_cast<uint8_t>(random());
        }
        // A sync word here and there, so that the parser finds frames in it.
        for (size_t at = 0; at + 2 < noise.size(); at += 700) {
            noise[at] = 0x0B;
            noise[at + 1] = 0x77;
        }
        const decoded got = decode_cut({ZU_ADEC_AC3, {}}, noise, {}, 3000, seed);
        EXPECT_LE(got.format.channels, kMaxChannels);
    }
}

TEST(Pcm, PassesBitForBitWithTimestampsHoweverItIsCut) {
    const audio_format format = {6, 48000};
    std::vector<int16_t> samples(6 * 400);
    std::mt19937 random(3);
    std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(random()); });
    const auto* raw = reinterpret_cast<const uint8_t*>(samples.data());
    const std::vector<uint8_t> bytes(raw, raw + samples.size() * sizeof(int16_t));
    // The second and third timestamps fall into the middle of a frame, and are of the next one.
    const std::vector<size_t> starts = {0, 12 * 100 + 1, 12 * 200 + 11, 12 * 300};
    const std::vector<std::pair<size_t, uint32_t>> expected = {
        {0, 0}, {101, 100}, {201, 200}, {300, 300}};
    for (const size_t largest : {1U, 11U, 13U, 1024U, 8192U}) {
        SCOPED_TRACE(largest);
        const decoded got = decode_cut({ZU_ADEC_PCM, format}, bytes, starts, largest, 9);
        EXPECT_TRUE(got.samples == samples);
        EXPECT_EQ(got.timestamps, expected);
        EXPECT_EQ(got.damaged, 0U);
    }
}

TEST(Pcm, CountsAnUnfinishedFrameAsDamage) {
    const decoded got = decode_cut({ZU_ADEC_PCM, {2, 48000}}, {1, 2, 3, 4, 5}, {}, 5, 1);
    EXPECT_EQ(got.samples.size(), 2U);
    EXPECT_EQ(got.damaged, 1U);
}

TEST(Decoders, AreRefusedBeyondWhatIsPlayed) {
    const struct {
        decoder_config config;
        bool expected;
    } rows[] = {
        {{ZU_ADEC_PCM, {1, 8000}}, true},   {{ZU_ADEC_PCM, {8, 192000}}, true},
        {{ZU_ADEC_PCM, {0, 48000}}, false}, {{ZU_ADEC_PCM, {9, 48000}}, false},
        {{ZU_ADEC_PCM, {2, 7999}}, false},  {{ZU_ADEC_PCM, {2, 192001}}, false},
        {{ZU_ADEC_AC3, {0, 0}}, true},      {{0x81000001, {2, 48000}}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.config.type << " " << row.config.format.channels
                                        << " " << row.config.format.rate_hz);
        EXPECT_EQ(is_decodable(row.config), row.expected);
    }
}

}  // namespace
}  // namespace player_service
