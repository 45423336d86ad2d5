// corvex-hal play against a module that misbehaves in the ways real ones do.

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

constexpr int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string bytes_of(const std::vector<int16_t>& samples) {
    return {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(int16_t)};
}

// in.wav holds `frames` stereo frames of noise; calls and pcm are what the module saw.
struct play_command : testing::Test {
    finished play(const std::string& script, size_t frames,
                  const std::vector<std::string>& more = {}) {
        sound = noise(2 * frames);
        write_file("in.wav", wav16, 48000, 2, sound);
        std::vector<std::string> arguments = {"play", "in.wav", "--device", device};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const finished result = run_with_fake(
            script, arguments, {{"FAKE_HAL_CALLS", "calls"}, {"FAKE_HAL_PCM", "pcm"}});
        calls = read_bytes("calls");
        pcm = read_bytes("pcm");
        return result;
    }

    void expect_failure(const finished& result, const std::string& says) const {
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(has(result.err, says)) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        EXPECT_TRUE(has(calls, "close_device\n")) << "failure must close what was opened\n"
                                                  << calls;
    }

    scratch_dir dir;
    std::string device = "null";
    std::vector<int16_t> sound;
    std::string calls;
    std::string pcm;
};

TEST_F(play_command, DrivesTheModuleAsTheAudioServerDoes) {
    const finished result = play("", 1000);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.err, "") << "quiet when standard error is no terminal";
    EXPECT_EQ(calls,
              "open audio_hw_if\n"
              "open_output_stream 48000 3 1 2 2\n"
              "write 1920\nwrite 1920\nwrite 160\n"
              "standby\nclose_output_stream\nclose_device\n");
    EXPECT_EQ(pcm, bytes_of(sound));
    EXPECT_TRUE(has(result.out, "1000 frames (0:00.020) in 3 writes of 1920 bytes")) << result.out;
    EXPECT_TRUE(has(result.out, "presented  1000 frames")) << result.out;
}

TEST_F(play_command, PiecesHaveTheStreamsBufferSizeInWholeFrames) {
    EXPECT_EQ(play("buffer=1003", 300).exit_code, 0);
    EXPECT_TRUE(has(calls, "write 1000\nwrite 200\n")) << calls;
    EXPECT_EQ(pcm, bytes_of(sound));
}

TEST_F(play_command, WhatAWriteDidNotTakeIsWrittenAgain) {
    EXPECT_EQ(play("write=half", 1000).exit_code, 0);
    EXPECT_EQ(pcm, bytes_of(sound));
}

TEST_F(play_command, TheStreamsRateIsTheOneConvertedTo) {
    const finished result = play("rate=24000", 4800);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(pcm.size(), 2400U * 4);
    EXPECT_TRUE(has(result.out, "to 24000 Hz")) << result.out;
}

TEST_F(play_command, ChannelsChooseTheMask) {
    for (const auto& [channels, mask] : {std::pair("1", "1"), {"6", "63"}, {"8", "1599"}}) {
        EXPECT_EQ(play("", 480, {"--channels", channels}).exit_code, 0);
        EXPECT_TRUE(has(calls, std::string("open_output_stream 48000 ") + mask + " 1 2 2\n"))
            << calls;
    }
}

TEST_F(play_command, FramesThatNobodyHearsAreAFailure) {
    const struct {
        const char* name;
        const char* script;
        const char* says;
    } rows[] = {
        {"card not opened", "position=zero;log=pcm_open() failed: no such card",
         "could not open the card: no such card;"},
        {"card not opened, no reason", "position=zero;log=hpo_open failed fffffff4",
         "could not open the card"},
        {"card unplugged", "log=hpo_write:1920 byte written failed;log_at=20",
         "stopped taking data"},
        {"silent without a word", "position=zero", "stays 0"},
        {"stands still", "position=stall", "stood still after 4800 of 48000"},
        {"write refused", "write=fail", "-5 (Input/output error)"},
        {"write takes nothing", "write=zero", "write answered 0"},
        {"stream refused", "open_stream=-12", "-12 (Cannot allocate memory)"},
        {"device refused", "open_device=-19;position=none", "-19"},
        {"no buffer", "buffer=0", "buffers of 0 bytes"},
        {"less than a frame", "buffer=3", "buffers of 3 bytes"},
        {"absurd buffer", "buffer=1099511627", "buffers of 1099511627 bytes"},
        {"other format", "format=3", "another kind"},
        {"other channels", "mask=63", "another kind"},
        {"no rate", "rate=0", "another kind"},
        {"nothing there", "bare=1", "another kind"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::remove("calls");
        const finished result = play(row.script, 48000);
        if (std::strcmp(row.name, "device refused") == 0) {
            EXPECT_EQ(calls, "open audio_hw_if\n");
            calls += "close_device\n";
        }
        expect_failure(result, row.says);
    }
}

TEST_F(play_command, AFailureStopsAtOnce) {
    expect_failure(play("position=zero;log=pcm_open() failed: gone", 48000), "gone");
    EXPECT_EQ(calls,
              "open audio_hw_if\nopen_output_stream 48000 3 1 2 2\nwrite 1920\n"
              "standby\nclose_output_stream\nclose_device\n");
}

TEST_F(play_command, ErrorsThatDoNotStopTheSoundAreNotedAtTheEnd) {
    const finished result =
        play("open_log=no player service;log=hpo_write: not save all data!", 4800);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_FALSE(has(result.out, "player service")) << "PCM needs none\n" << result.out;
    EXPECT_TRUE(has(result.out, "E fake: hpo_write: not save all data!")) << result.out;
}

TEST_F(play_command, WaitsUntilTheCardHasPlayedOutAndRunDry) {
    // The fake plays 50 frames between two looks, so that the end itself is never seen.
    const finished result = play("position=card", 2000);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(has(result.out, "presented  all frames")) << result.out;
    EXPECT_EQ(pcm, bytes_of(sound)) << "a card that has started needs no silence";
}

TEST_F(play_command, ASoundTooShortToStartTheCardIsFollowedBySilence) {
    const finished result = play("position=card", 115);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(pcm, bytes_of(sound) + std::string(1920, '\0'));
    EXPECT_TRUE(has(result.out, "written    115 frames")) << result.out;
    EXPECT_TRUE(has(result.out, "presented  115 frames")) << "not the silence\n" << result.out;
    EXPECT_TRUE(has(result.out, "silence")) << result.out;
}

TEST_F(play_command, AWavSinkGetsNoSilenceAndHasToAppear) {
    // The fake writes no file: like a tinyalsa that does not know the variable.
    device = "out.wav";
    expect_failure(play("position=card", 100), "was not written");
    EXPECT_EQ(pcm, bytes_of(sound));
    write_bytes("out.wav", "from an earlier run");
    expect_failure(play("", 100), "was not written");
}

TEST_F(play_command, AStreamWithoutAPositionStillPlays) {
    const finished result = play("position=fail", 4800);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(has(result.out, "presented  unknown")) << result.out;
}

TEST_F(play_command, ClippedSamplesAreCounted) {
    write_file("loud.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 1,
               std::vector<float>{0.0F, 2.0F, -2.0F});
    const finished result = run_with_fake("", {"play", "loud.wav", "-d", "null", "-c", "1"});
    EXPECT_TRUE(has(result.out, "2 samples were beyond full scale")) << result.out;
}

TEST_F(play_command, VerbosityShowsTheModulesLog) {
    const finished result = play("log=worth a line", 480, {"-v"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(has(result.err, "E fake: worth a line\n")) << result.err;
}

TEST_F(play_command, ProgressShowsOnATerminalAndIsCleared) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const int child_end = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(child_end, 0);
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    environment changes = clean_environment();
    changes["FAKE_HAL_SCRIPT"] = "";
    subprocess program(
        {CORVEX_HAL_PROGRAM, "--module", FAKE_MODULE_FILE, "play", "in.wav", "-d", "null"}, changes,
        {}, child_end);
    EXPECT_EQ(program.wait().exit_code, 0);
    char text[4096] = {};
    ASSERT_GT(read(terminal, text, sizeof(text) - 1), 0);
    EXPECT_TRUE(has(text, "\r0:00.0 / 0:01.0  latency 20 ms")) << text;
    const std::string all = text;
    EXPECT_EQ(all.substr(all.rfind('\r')), "\r\033[K");
    close(child_end);
    close(terminal);
}

}  // namespace
