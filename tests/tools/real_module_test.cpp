// The built program with the built module and a WAV file for a card: what goes in comes out.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tests/support/tone.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

finished play(words arguments) {
    arguments.insert(arguments.begin(), {"--module", REAL_MODULE_FILE, "play"});
    return run_program(arguments);
}

// Each run writes the same file, so that longer ones of earlier runs are replaced.
TEST(RealModule, WhatGoesInComesOut) {
    const struct {
        int channels;
        size_t frames;
    } rows[] = {{2, 48123}, {2, 480}, {2, 1}, {2, 100}, {1, 4801}, {6, 4801}, {8, 961}};
    const scratch_dir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.channels) + " x " + std::to_string(row.frames));
        const auto samples = noise(static_cast<size_t>(row.channels) * row.frames);
        write_file("in.wav", wav16, 48000, row.channels, samples);
        const auto result = play({"in.wav", "-d", "out.wav", "-c", std::to_string(row.channels)});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(SndfileHandle("out.wav").samplerate(), 48000);
        EXPECT_EQ(SndfileHandle("out.wav").channels(), row.channels);
        EXPECT_EQ(read_samples("out.wav"), samples);
        const std::string presented = "presented  " + std::to_string(row.frames) + " frames\n";
        EXPECT_TRUE(has(result.out, presented)) << result.out;
    }
}

// A tone is recorded as it is at every rate, and nothing is heard twice or left out.
TEST(RealModule, RecordsWhatTheCardGives) {
    const scratch_dir dir;
    std::vector<int16_t> frames;
    for (int i = 0; i < 48000; ++i) {
        const double sample = 12000 * tone_at(440, 48000, i);
        frames.insert(frames.end(), 2, static_cast<int16_t>(std::lrint(sample)));
    }
    write_file("in.wav", wav16, 48000, 2, frames);
    for (const int rate : {8000, 44100, 48000}) {
        for (const int channels : {1, 2}) {
            SCOPED_TRACE(std::to_string(rate) + " " + std::to_string(channels));
            const finished result = run_program(
                {"--module", REAL_MODULE_FILE, "record", "out.wav", "-d", "in.wav", "-s", "0.9",
                 "-r", std::to_string(rate), "-c", std::to_string(channels)});
            EXPECT_EQ(result.exit_code, 0) << result.err;
            EXPECT_EQ(result.err, "");
            SndfileHandle file("out.wav");
            EXPECT_EQ(file.samplerate(), rate);
            EXPECT_EQ(file.channels(), channels);
            const auto samples = read_samples("out.wav");
            ASSERT_EQ(samples.size(), static_cast<size_t>(rate * channels * 9 / 10));
            std::vector<double> first;
            for (size_t i = 200; i < samples.size(); i += static_cast<size_t>(channels)) {
                first.push_back(samples[i]);
            }
            const tone_fit fit = fit_tone(first, 440, rate);
            EXPECT_NEAR(fit.amplitude, 12000, 50);
            EXPECT_LT(fit.worst_residue, 50);
            EXPECT_TRUE(has(result.out, "peak       -8.7 dB")) << result.out;
        }
    }
}

TEST(RealModule, ALoopThroughOneFileTakesTheCardsBuffer) {
    const scratch_dir dir;
    const finished result =
        run_program({"--module", REAL_MODULE_FILE, "loop", "-p", "l.wav", "-d", "l.wav"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(has(result.out, "round trip 960 frames, 20.0 ms")) << result.out;
}

TEST(RealModule, ACardThatCannotBeRecordedIsOneClearLineAndNoFile) {
    const scratch_dir dir;
    write_file("mono.wav", wav16, 48000, 1, noise(480));
    for (const char* device : {"mono.wav", "no_such_pcm"}) {
        expect_error(run_program({"--module", REAL_MODULE_FILE, "record", "out.wav", "-d", device,
                                  "-s", "1"}),
                     1, "could not open the card: cannot open");
        EXPECT_FALSE(std::filesystem::exists("out.wav"));
    }
}

TEST(RealModule, AnUnknownCardIsOneClearLine) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    expect_error(play({"in.wav", "-d", "no_such_pcm"}), 1,
                 "could not open the card: cannot open no_such_pcm");
}

TEST(RealModule, AnInterruptedWavIsCompleteAsFarAsItGoes) {
    const scratch_dir dir;
    const auto samples = noise(2 * 48000 * 120);
    write_file("in.wav", wav16, 48000, 2, samples);
    const int watch = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, ".", IN_MODIFY), 0);
    subprocess program({"--module", REAL_MODULE_FILE, "play", "in.wav", "-d", "out.wav"},
                       {"CORVEX_WAV_PACE=real"});
    while (!std::filesystem::exists("out.wav") || std::filesystem::file_size("out.wav") < 10'000) {
        pollfd one{watch, POLLIN, 0};
        ASSERT_EQ(poll(&one, 1, 60'000), 1) << "nothing was written for a minute";
        char events[4096];
        ASSERT_GT(read(watch, events, sizeof(events)), 0);
    }
    close(watch);
    program.send(SIGINT);
    const finished result = program.wait();
    EXPECT_EQ(result.exit_code, 130) << result.err;
    EXPECT_TRUE(has(result.out, "interrupted")) << result.out;
    const auto out = read_samples("out.wav");
    ASSERT_GT(out.size(), 0U);
    ASSERT_LT(out.size(), samples.size());
    EXPECT_TRUE(std::equal(out.begin(), out.end(), samples.begin()));
    EXPECT_EQ(std::filesystem::file_size("out.wav") - out.size() * 2, 44U)
        << "the header and nothing else";
}

TEST(RealModule, InfoDescribesTheModuleAndItsStreams) {
    const scratch_dir dir;
    const finished result = run_program({"--module", REAL_MODULE_FILE, "info"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    for (const char* part :
         {REAL_MODULE_FILE, "2.0 (0x0200)", "master volume    1.000",
          "primary stereo    48000     0x3        0x1   1920    20 ms  OUT_STEREO ", "OUT_5POINT1 ",
          "refused: -12 (Cannot allocate memory)", "adev_open_output_stream: not support hdo"}) {
        EXPECT_TRUE(has(result.out, part)) << part << "\n" << result.out;
    }
}

TEST(RealModule, PropertiesReachTheModule) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 480));
    const finished result =
        play({"in.wav", "-d", "out.wav", "-v", "--prop", "persist.audiohal.log.functrace=true"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(has(result.err, "FuncTrace(1)")) << result.err;
}

}  // namespace
