// The built program, module and player service together: what is heard is what a decoder makes of
// the file, whatever the cuts.

#include <gtest/gtest.h>

#include "tests/support/encoded_stream.h"
#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

finished run(const char* command, words options) {
    options.insert(options.begin(), {"--module", REAL_MODULE_FILE, command, "in.media"});
    options.insert(options.end(), {"--device", "out.wav"});
    return run_program(options);
}

void expect_sound(const finished& result, const std::vector<int16_t>& samples, int channels) {
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_FALSE(has(result.out, "module log")) << result.out;
    EXPECT_EQ(SndfileHandle("out.wav").channels(), channels);
    EXPECT_TRUE(read_samples("out.wav") == samples) << result.out;
}

TEST(RealDirect, CompressedSoundIsDecodedBitForBit) {
    const struct {
        codec which;
        unsigned channels;
        words framing;
        const char* cut;
    } rows[] = {
        {codec::ac3, 2, {}, "random:1"},
        {codec::ac3, 6, {"--header-version", "1"}, "1000,1,2,3"},
        {codec::eac3, 6, {"--data-offset", "20"}, "random:2"},
        {codec::eac3, 2, {}, "17"},
    };
    const scratch_dir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.cut);
        const std::vector<encoded_frame> frames = encode(row.which, {row.channels, 48000}, 40);
        const std::vector<uint8_t> bytes = bytes_of(frames);
        write_bytes("in.media", {bytes.begin(), bytes.end()});
        const std::vector<int16_t> expected = samples_of(frames);
        words options = row.framing;
        options.insert(options.end(), {"--cut", row.cut});
        expect_sound(run("tunnel", options), expected, static_cast<int>(row.channels));
        expect_sound(run("passthrough", {"--cut", row.cut}), expected,
                     static_cast<int>(row.channels));
    }
}

TEST(RealDirect, SamplesComeThroughUnchanged) {
    const struct {
        int rate_hz;
        int channels;
        size_t frames;
    } rows[] = {{48000, 2, 20'000}, {44100, 1, 5000}, {48000, 6, 3001}, {96000, 8, 3000}};
    const scratch_dir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.channels);
        const auto samples = noise(row.frames * static_cast<size_t>(row.channels));
        write_file("in.media", wav16, row.rate_hz, row.channels, samples);
        const finished result = run("tunnel", {"--cut", "random:3", "--pause-at", "0.02:0"});
        expect_sound(result, samples, row.channels);
        EXPECT_EQ(SndfileHandle("out.wav").samplerate(), row.rate_hz);
        EXPECT_TRUE(has(result.out, "decoded    " + std::to_string(row.frames) + " frames"))
            << result.out;
        expect_sound(run("passthrough", {"--cut", "random:4"}), samples, row.channels);
    }
}

TEST(RealDirect, TheTimelineFollowsTheTimestampsAndAJump) {
    const scratch_dir dir;
    write_file("in.media", wav16, 48000, 2, noise(2 * 3 * 48000));
    const finished result =
        run("tunnel", {"--seek-at", "1:2", "--timeline", "times.csv", "--cut", "random:6"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string times = read_bytes("times.csv");
    const auto count = [&](const std::string& event) {
        size_t found = 0;
        for (size_t at = times.find(event); at != times.npos; at = times.find(event, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count(",start\n"), 2U) << times;
    EXPECT_GT(count(",follows\n"), 60U) << times;
    EXPECT_EQ(count("\n"), 1 + count(",start\n") + count(",follows\n")) << times;
}

TEST(RealDirect, SyncAnswersAnId) {
    const scratch_dir dir;
    const finished result = run_program({"--module", REAL_MODULE_FILE, "sync"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(has(result.out, "hw_av_sync ")) << result.out;
}

}  // namespace
