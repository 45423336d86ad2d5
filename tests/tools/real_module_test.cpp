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

constexpr int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

finished play(std::vector<std::string> arguments, const environment& changes = {}) {
    arguments.insert(arguments.begin(), {"--module", REAL_MODULE_FILE, "play"});
    return run_program(arguments, changes);
}

// Blocks until something has been written to a file in the current folder.
class write_watch {
  public:
    write_watch() : fd_(inotify_init1(IN_CLOEXEC)) {
        EXPECT_GE(inotify_add_watch(fd_, ".", IN_MODIFY), 0);
    }
    ~write_watch() { close(fd_); }

    bool wait() const {
        pollfd one{fd_, POLLIN, 0};
        if (poll(&one, 1, 60'000) != 1) {
            return false;
        }
        char events[4096];
        return read(fd_, events, sizeof(events)) > 0;
    }

  private:
    int fd_;
};

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
        const finished result =
            play({"in.wav", "-d", "out.wav", "-c", std::to_string(row.channels)});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        const read_back out = read_file("out.wav");
        EXPECT_EQ(out.rate_hz, 48000);
        EXPECT_EQ(out.channels, row.channels);
        EXPECT_EQ(out.samples, samples);
        const std::string presented = "presented  " + std::to_string(row.frames) + " frames\n";
        EXPECT_NE(result.out.find(presented), std::string::npos) << result.out;
    }
}

TEST(RealModule, ALongerEarlierFileIsReplaced) {
    const scratch_dir dir;
    for (const size_t frames : {9600U, 4800U}) {
        write_file("in.wav", wav16, 48000, 2, noise(2 * frames));
        EXPECT_EQ(play({"in.wav", "-d", "out.wav"}).exit_code, 0);
    }
    EXPECT_EQ(read_file("out.wav").samples, noise(2 * 4800));
}

TEST(RealModule, AnUnknownCardIsOneClearLine) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    const finished result = play({"in.wav", "-d", "no_such_pcm"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("could not open the card: cannot open no_such_pcm"),
              std::string::npos)
        << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

TEST(RealModule, AnInterruptedWavIsCompleteAsFarAsItGoes) {
    const scratch_dir dir;
    const auto samples = noise(2 * 48000 * 120);
    write_file("in.wav", wav16, 48000, 2, samples);
    environment changes = clean_environment();
    changes["CORVEX_WAV_PACE"] = "real";
    const write_watch watch;
    subprocess program(
        {CORVEX_HAL_PROGRAM, "--module", REAL_MODULE_FILE, "play", "in.wav", "-d", "out.wav"},
        changes);
    while (!std::filesystem::exists("out.wav") || std::filesystem::file_size("out.wav") < 10'000) {
        ASSERT_TRUE(watch.wait()) << "nothing was written for a minute";
    }
    program.send(SIGINT);
    const finished result = program.wait();
    EXPECT_EQ(result.exit_code, 130) << result.err;
    EXPECT_NE(result.out.find("interrupted"), std::string::npos) << result.out;
    const read_back out = read_file("out.wav");
    ASSERT_GT(out.samples.size(), 0U);
    ASSERT_LT(out.samples.size(), samples.size());
    EXPECT_TRUE(std::equal(out.samples.begin(), out.samples.end(), samples.begin()));
    EXPECT_EQ(std::filesystem::file_size("out.wav") - out.samples.size() * 2, 44U)
        << "the header and nothing else";
}

TEST(RealModule, InfoDescribesTheModuleAndItsStreams) {
    const scratch_dir dir;
    const finished result = run_program({"--module", REAL_MODULE_FILE, "info"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    for (const char* part :
         {REAL_MODULE_FILE, "2.0 (0x0200)", "master volume    1.000",
          "primary stereo    48000     0x3        0x1   1920    20 ms  OUT_STEREO ",
          "OUT_5POINT1 "}) {
        EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n" << result.out;
    }
}

TEST(RealModule, PropertiesReachTheModule) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 480));
    const finished result =
        play({"in.wav", "-d", "out.wav", "-v", "--prop", "persist.audiohal.log.functrace=true"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.err.find("FuncTrace(1)"), std::string::npos) << result.err;
}

}  // namespace
