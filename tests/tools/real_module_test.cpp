// The built program with the built module and a WAV file for a card: what goes in comes out.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
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

TEST(RealModule, AnUnknownCardIsOneClearLine) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    play({"in.wav", "-d", "no_such_pcm"})
        .expect_error(1, "could not open the card: cannot open no_such_pcm");
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
          "primary stereo    48000     0x3        0x1   1920    20 ms  OUT_STEREO ",
          "OUT_5POINT1 "}) {
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
