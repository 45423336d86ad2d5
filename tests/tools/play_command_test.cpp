// corvex-hal play against a module that misbehaves in the ways real ones do.

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

constexpr char opened[] = "open audio_hw_if\nopen_output_stream 48000 3 1 2 2\n";
constexpr char closed[] = "standby\nclose_output_stream\nclose_device\n";

// What follows the sound on its way to a card, so that all of it is played.
const std::string tail(8 * 1920, '\0');
const std::string tail_calls = [] {
    std::string calls;
    for (int i = 0; i < 8; ++i) {
        calls += "write 1920\n";
    }
    return calls;
}();

// in.wav holds `frames` stereo frames of noise; calls and pcm are what the module saw.
struct play_command : testing::Test {
    finished play(const words& variables, size_t frames, const std::string& device = "null") {
        const auto samples = noise(2 * frames);
        sound.assign(reinterpret_cast<const char*>(samples.data()), samples.size() * 2);
        write_file("in.wav", wav16, 48000, 2, samples);
        std::remove("calls");
        std::remove("pcm");
        finished result = run_with_fake(variables, {"play", "in.wav", "-d", device});
        calls = read_bytes("calls");
        pcm = read_bytes("pcm");
        return result;
    }

    scratch_dir dir;
    std::string sound;
    std::string calls;
    std::string pcm;
};

TEST_F(play_command, DrivesTheModuleAsTheAudioServerDoes) {
    const finished result = play({}, 1000);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "") << "quiet when standard error is no terminal";
    EXPECT_EQ(calls,
              opened + std::string("write 1920\nwrite 1920\nwrite 160\n") + tail_calls + closed);
    EXPECT_EQ(pcm, sound + tail);
    EXPECT_TRUE(has(result.out, "1000 frames (0:00.020) in 3 writes of 1920 bytes")) << result.out;
    EXPECT_TRUE(has(result.out, "presented  1000 frames")) << result.out;
}

TEST_F(play_command, CopesWithWhatTheStreamAnswers) {
    const struct {
        words variables;
        size_t frames;
        const char* calls;  // among those of the module
        const char* says;   // in what is printed
    } rows[] = {
        {{"FAKE_buffer=1003"}, 300, "write 1000\nwrite 200\n", ""},
        {{"FAKE_write=half"}, 1000, "write 1920\nwrite 960\n", ""},
        {{"FAKE_position=fail"}, 4800, "", "presented  unknown"},
        {{"FAKE_open_log=no player service"}, 480, "", "presented  480 frames\ntook"},
        {{"FAKE_log=not all was saved"}, 480, "", "E fake: not all was saved"},
        {{"FAKE_position=card"}, 2000, "", "presented  2000 frames\ntook"},
        {{"FAKE_position=card"}, 115, "", "presented  115 frames\ntook"},
        {{"FAKE_position=dry"}, 4800, "", "the position was lost 5 times"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.variables));
        const finished result = play(row.variables, row.frames);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_TRUE(has(calls, row.calls)) << calls;
        EXPECT_TRUE(has(result.out, row.says)) << result.out;
        EXPECT_EQ(has(result.out, "player service"), false) << "PCM needs none\n" << result.out;
        EXPECT_EQ(pcm.substr(0, sound.size()), sound);
        EXPECT_EQ(pcm.find_first_not_of('\0', sound.size()), pcm.npos);
    }
}

TEST_F(play_command, TheStreamsRateIsTheOneConvertedTo) {
    const finished result = play({"FAKE_rate=24000"}, 4800);
    EXPECT_EQ(pcm.size(), 2400U * 4 + tail.size());
    EXPECT_TRUE(has(result.out, "to 24000 Hz")) << result.out;
}

TEST_F(play_command, FramesThatNobodyHearsAreAFailure) {
    const struct {
        words variables;
        const char* says;
        const char* device = "null";
    } rows[] = {
        {{"FAKE_position=zero", "FAKE_log=hpo_open failed fffffff4"}, "could not open the card"},
        {{"FAKE_log=hpo_write:1920 byte written failed"}, "stopped taking data"},
        {{"FAKE_position=zero"}, "stays 0"},
        {{"FAKE_position=stall"}, "stood still after 4800 of 48000"},
        {{"FAKE_write=fail"}, "-5 (Input/output error)"},
        {{"FAKE_write=zero"}, "write answered 0"},
        {{"FAKE_open_stream=-12"}, "-12 (Cannot allocate memory)"},
        {{"FAKE_buffer=0"}, "buffers of 0 bytes"},
        {{"FAKE_buffer=3"}, "buffers of 3 bytes"},
        {{"FAKE_buffer=1099511627"}, "buffers of 1099511627 bytes"},
        {{"FAKE_format=3"}, "another kind"},
        {{"FAKE_mask=63"}, "another kind"},
        {{"FAKE_bare=1"}, "another kind"},
        // The fake writes no file: like a tinyalsa that does not know the variable.
        {{}, "was not written", "out.wav"},
        {{}, "was not written", "old.wav"},
    };
    write_bytes("old.wav", "from an earlier run");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.variables));
        expect_error(play(row.variables, 48000, row.device), 1, row.says);
        EXPECT_TRUE(has(calls, "close_device\n")) << "failure must close what was opened";
    }
    expect_error(play({"FAKE_position=card"}, 100, "out.wav"), 1, "was not written");
    EXPECT_EQ(pcm, sound) << "a WAV file gets no silence";
    expect_error(play({"FAKE_open_device=-19"}, 480), 1, "-19 (No such device)");
}

TEST_F(play_command, ACardThatCannotBeOpenedStopsAtOnce) {
    const finished result =
        play({"FAKE_position=zero", "FAKE_log=pcm_open() failed: no such card"}, 48000);
    expect_error(result, 1, "could not open the card: no such card;");
    EXPECT_EQ(calls, opened + std::string("write 1920\n") + closed);
}

TEST_F(play_command, ASignalEndsInOrderAndASecondOneKills) {
    const finished one = play({"FAKE_signals=1"}, 48000);
    EXPECT_EQ(one.exit_code, 130);
    EXPECT_EQ(one.err, "");
    EXPECT_TRUE(has(one.out, "interrupted in.wav")) << one.out;
    EXPECT_TRUE(has(one.out, "written    1440 frames")) << one.out;
    EXPECT_EQ(calls, opened + std::string("write 1920\nwrite 1920\nwrite 1920\n") + closed);
    EXPECT_EQ(play({"FAKE_signals=2"}, 48000).signal, SIGTERM);
}

TEST_F(play_command, DamageInTheFileIsReported) {
    write_file("in.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 48000, 2, noise(2 * 48000));
    write_bytes("in.flac", read_bytes("in.flac").substr(0, 90'000));
    expect_error(run_with_fake({}, {"play", "in.flac", "-d", "null"}), 1, "is damaged");
}

TEST_F(play_command, ClippedSamplesAreCountedAndTheModulesLogIsShown) {
    write_file("loud.wav", wav_float, 48000, 1, std::vector<float>{0.0F, 2.0F, -2.0F});
    const finished result = run_with_fake({"FAKE_log=worth a line"},
                                          {"play", "loud.wav", "-d", "null", "-c", "1", "-v"});
    EXPECT_TRUE(has(result.out, "2 samples were beyond full scale")) << result.out;
    EXPECT_EQ(result.err, "E fake: worth a line\n");
}

TEST_F(play_command, ProgressShowsOnATerminalAndIsCleared) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(grantpt(terminal) | unlockpt(terminal), 0) << "this needs /dev/pts to be mounted";
    const int program_end = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::filesystem::create_symlink(ptsname(terminal), "printed.err");
    EXPECT_EQ(play({}, 48000).exit_code, 0);
    // The kernel hands what was written over piece by piece, and later.
    std::string text;
    char piece[1024];
    struct pollfd waiting = {terminal, POLLIN, 0};
    while (!has(text, "\r\033[K") && poll(&waiting, 1, 60'000) > 0) {
        const ssize_t size = read(terminal, piece, sizeof(piece));
        ASSERT_GT(size, 0);
        text.append(piece, static_cast<size_t>(size));
    }
    EXPECT_TRUE(has(text, "\r0:00.0 / 0:01.0  latency 20 ms")) << text;
    EXPECT_TRUE(has(text, "\r\033[K")) << text;
    close(program_end);
    close(terminal);
}

}  // namespace
