// Signals in the middle of playing. The fake module's gate holds the program inside a write, so
// that nothing depends on time.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <signal.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

struct interrupted_play : testing::Test {
    interrupted_play() {
        write_file("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, noise(2 * 48000));
        EXPECT_EQ(pipe2(events, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(gate, O_CLOEXEC), 0);
        environment changes = clean_environment();
        changes["FAKE_HAL_CALLS"] = "calls";
        changes["FAKE_HAL_SCRIPT"] =
            "gate=" + std::to_string(events[1]) + "," + std::to_string(gate[0]);
        const std::vector<std::string> arguments = {
            CORVEX_HAL_PROGRAM, "--module", FAKE_MODULE_FILE, "play", "in.wav", "-d", "null"};
        program =
            std::make_unique<subprocess>(arguments, changes, std::vector<int>{events[1], gate[0]});
        close(events[1]);
        close(gate[0]);
    }

    ~interrupted_play() override {
        close(events[0]);
        close(gate[1]);
    }

    // Returns while the program is inside write number `count`.
    void hold_in_write(int count) const {
        for (int i = 1; i <= count; ++i) {
            char byte;
            ASSERT_EQ(read(events[0], &byte, 1), 1) << "the program ended early";
            if (i < count) {
                open_gate();
            }
        }
    }

    void open_gate() const { ASSERT_EQ(write(gate[1], "g", 1), 1); }

    scratch_dir dir;
    int events[2];
    int gate[2];
    std::unique_ptr<subprocess> program;
};

TEST_F(interrupted_play, EndsInOrderAfterThePieceUnderWay) {
    hold_in_write(3);
    program->send(SIGINT);
    open_gate();
    const finished result = program->wait();
    EXPECT_EQ(result.exit_code, 130);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("interrupted in.wav"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("written    1440 frames"), std::string::npos) << result.out;
    EXPECT_EQ(read_bytes("calls"),
              "open audio_hw_if\nopen_output_stream 48000 3 1 2 2\n"
              "write 1920\nwrite 1920\nwrite 1920\n"
              "standby\nclose_output_stream\nclose_device\n");
}

TEST_F(interrupted_play, TerminationEndsInOrderToo) {
    hold_in_write(1);
    program->send(SIGTERM);
    open_gate();
    EXPECT_EQ(program->wait().exit_code, 130);
    EXPECT_NE(read_bytes("calls").find("write 1920\nstandby\nclose_output_stream\nclose_device\n"),
              std::string::npos);
}

TEST_F(interrupted_play, ASecondSignalKillsAProgramThatHangs) {
    hold_in_write(1);
    // Two different signals, since two of a kind that are not yet taken count as one.
    program->send(SIGINT);
    program->send(SIGTERM);
    EXPECT_EQ(program->wait().signal, SIGTERM);
}

}  // namespace
