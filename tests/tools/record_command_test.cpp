// corvex-hal record against a module that misbehaves in the ways real ones do.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "tests/support/resource_limit.h"
#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

constexpr char opened[] = "open audio_hw_if\nopen_input_stream 48000 12 1 80000004 1\n";
constexpr char closed[] = "close_input_stream\nclose_device\n";

// The fake's input gives noise; calls is what the module saw.
struct record_command : testing::Test {
    record_command() : sound(noise(2 * 4000)) {
        write_bytes("sound", {reinterpret_cast<const char*>(sound.data()), sound.size() * 2});
    }
    finished record(const words& variables, words options) {
        std::filesystem::remove("calls");
        options.insert(options.begin(), {"record", "out.wav", "-d", "null"});
        finished result = run_with_fake(variables, options);
        calls = read_bytes("calls");
        return result;
    }

    scratch_dir dir;
    std::vector<int16_t> sound;
    std::string calls;
};

TEST_F(record_command, DrivesTheModuleAsTheAudioServerDoes) {
    const finished result = record({}, {"-s", "0.025"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "") << "quiet when standard error is no terminal";
    EXPECT_EQ(calls, opened + std::string("read 2048\nread 2048\nread 704\n") + closed);
    EXPECT_EQ(read_samples("out.wav"), std::vector<int16_t>(sound.begin(), sound.begin() + 2400));
    EXPECT_TRUE(has(result.out, "1200 frames (0:00.025) in 3 reads of 2048 bytes")) << result.out;
    EXPECT_TRUE(has(result.out, "lost       7 frames")) << result.out;

    EXPECT_EQ(record({}, {"-s", "0.02", "-r", "16000", "-c", "1"}).exit_code, 0);
    EXPECT_TRUE(has(calls, "open_input_stream 16000 16 1")) << calls;
    EXPECT_EQ(SndfileHandle("out.wav").channels(), 1);
    EXPECT_EQ(SndfileHandle("out.wav").frames(), 320);
}

TEST_F(record_command, GoesOnAfterShortReads) {
    EXPECT_EQ(record({"FAKE_in_read=half"}, {"-s", "0.05"}).exit_code, 0);
    EXPECT_EQ(read_samples("out.wav"), std::vector<int16_t>(sound.begin(), sound.begin() + 4800));
}

TEST_F(record_command, WhatWasNotRecordedIsAFailureAndKeepsTheEarlierFile) {
    const struct {
        words variables;
        const char* says;
        bool recorded = false;
    } rows[] = {
        {{"FAKE_in_log=hpi_open failed(fffffff4)"}, "could not open the card", true},
        {{"FAKE_in_log=hpi_read:2048 byte written failed, ret(0xfffffffb)"},
         "stopped giving",
         true},
        {{"FAKE_in_log=get_next_buffer() pcm_read error -5 gone"}, "giving data: -5 gone", true},
        {{"FAKE_in_read=fail"}, "-5 (Input/output error)"},
        {{"FAKE_in_read=zero"}, "read answered 0"},
        {{"FAKE_open_input=-22"}, "-22 (Invalid argument)"},
        {{"FAKE_bare=1"}, "-38"},
        {{"FAKE_buffer=3"}, "buffers of 3 bytes"},
        {{"FAKE_format=3"}, "another kind"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.variables));
        write_bytes("out.wav", "from an earlier run");
        expect_error(record(row.variables, {"-s", "1"}), 1, row.says);
        EXPECT_TRUE(has(calls, "close_device\n")) << "failure must close what was opened";
        if (row.recorded) {
            EXPECT_EQ(read_samples("out.wav"),
                      std::vector<int16_t>(sound.begin(), sound.begin() + 1024));
        } else {
            EXPECT_EQ(read_bytes("out.wav"), "from an earlier run");
        }
    }
}

TEST_F(record_command, ASignalEndsInOrder) {
    for (const bool limited : {false, true}) {
        const finished result = record({"FAKE_in_signal=1"}, limited ? words{"-s", "9"} : words{});
        EXPECT_EQ(result.exit_code, limited ? 130 : 0) << result.err;
        EXPECT_TRUE(has(result.out, limited ? "interrupted out.wav" : "recorded   out.wav"));
        EXPECT_EQ(calls, opened + std::string("read 2048\nread 2048\nread 2048\n") + closed);
        EXPECT_EQ(read_samples("out.wav").size(), 3072U);
    }
}

TEST_F(record_command, AFullDiskIsAnErrorAndTheFileKeepsWhatFitted) {
    const resource_limit full(RLIMIT_FSIZE, 3000);
    expect_error(record({}, {"-s", "1"}), 1, "cannot write all of 'out.wav'");
    EXPECT_TRUE(has(calls, closed)) << calls;
    const auto kept = read_samples("out.wav");
    ASSERT_GE(kept.size(), 1024U);
    EXPECT_TRUE(std::equal(kept.begin(), kept.end(), sound.begin()));
}

TEST_F(record_command, OnlyARegularFileIsWritten) {
    std::filesystem::create_symlink("/dev/full", "full.wav");
    expect_error(run_with_fake({}, {"record", "full.wav", "-d", "null", "-s", "1"}), 1,
                 "no regular file");
}

}  // namespace
