// corvex-hal loop with a module whose input hears its output.

#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

finished loop(const words& variables) {
    return run_with_fake(variables, {"loop", "-p", "null", "-d", "null"});
}

TEST(LoopCommand, CountsTheFramesBetweenWriteAndRead) {
    const scratch_dir dir;
    // What is written ahead, two buffers of 480 frames, is in the delay as with a card.
    const struct {
        const char* delay;
        const char* says;
    } rows[] = {
        {"FAKE_in_delay=0", "round trip 960 frames, 20.0 ms"},
        {"FAKE_in_delay=1", "round trip 961 frames"},
        {"FAKE_in_delay=12345", "round trip 13305 frames, 277.2 ms"},
    };
    for (const auto& row : rows) {
        const finished result = loop({row.delay});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_TRUE(has(result.out, row.says)) << result.out;
    }
}

TEST(LoopCommand, SaysWhenNothingComesBack) {
    const scratch_dir dir;
    const auto sound = noise(2 * 100'000);
    expect_error(loop({}), 1, "did not come back from ALSA PCM 'null' (its peak was silence)");
    write_bytes("sound", {reinterpret_cast<const char*>(sound.data()), sound.size() * 2});
    expect_error(loop({}), 1, "did not come back");
    expect_error(loop({"FAKE_in_delay=90000"}), 1, "did not come back");
    expect_error(loop({"FAKE_in_delay=0", "FAKE_in_log=hpi_open failed(fffffff4)"}), 1,
                 "could not open the card");
    expect_error(loop({"FAKE_in_delay=0", "FAKE_write=fail"}), 1, "write answered -5");
    expect_error(loop({"FAKE_open_input=-12"}), 1, "refuses a primary input stream: -12");
    EXPECT_EQ(loop({"FAKE_in_delay=0", "FAKE_in_signal=1"}).exit_code, 130);
}

}  // namespace
