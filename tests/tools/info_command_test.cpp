#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(InfoCommand, AbsentOperationsAreNamedAndNeverCalled) {
    const scratch_dir dir;
    const finished result = run_with_fake("bare=1", {"info"}, {{"FAKE_HAL_CALLS", "calls"}});
    EXPECT_EQ(result.exit_code, 0) << result.err << " signal " << result.signal;
    for (const char* part :
         {"fake audio module", "the tests", "0x48574d54\n", "2.0 (0x0200)",
          "master volume    absent", "init check       absent", "get_sample_rate set_sample_rate",
          "update_source_metadata", "stereo 48000     refused: -38"}) {
        EXPECT_TRUE(has(result.out, part)) << part << "\n" << result.out;
    }
    const std::string calls = read_bytes("calls");
    EXPECT_TRUE(has(calls, "open audio_hw_if\n"));
    EXPECT_TRUE(has(calls, "open_output_stream 48000 63 1 2 2\n")) << "5.1 on the primary output";
    EXPECT_TRUE(has(calls, "open_output_stream 48000 3 150994944 2 1\n")) << "direct AC-3";
    EXPECT_TRUE(has(calls, "open_output_stream 48000 3 1 2 65\n")) << "tunnel";
    EXPECT_EQ(calls.substr(calls.rfind("close_output_stream")),
              "close_output_stream\nclose_device\n");
}

TEST(InfoCommand, RefusalsAreReportedWithTheirCode) {
    const scratch_dir dir;
    const finished result = run_with_fake("open_stream=-22", {"info"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(has(result.out, "tunnel           refused: -22 (Invalid argument)")) << result.out;
}

TEST(InfoCommand, ADeviceThatDoesNotOpenIsAFailure) {
    const scratch_dir dir;
    const finished result = run_with_fake("open_device=-19", {"info"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_TRUE(has(result.err, "-19 (No such device)")) << result.err;
}

}  // namespace
