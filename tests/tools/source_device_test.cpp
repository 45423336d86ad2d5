#include <filesystem>
#include <gtest/gtest.h>

#include "host/program_error.h"
#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tools/device/source_device.h"

namespace fs = std::filesystem;

namespace {

TEST(SourceRule, ChoosesWhatToRecordOrSaysWhyNot) {
    const scratch_dir dir;
    fs::create_directories("play/card0/pcm0p");
    fs::create_directories("with/card0/pcm0c");
    write_bytes("in.wav", "sound");
    const std::string here = "wav:" + fs::current_path().string();
    const struct {
        const char* device;
        const char* proc_asound;
        const char* environment;
        std::string expected;  // what the module will see, empty for hw:0,0; or part of the error
        int code = exit_success;
    } rows[] = {
        {"auto", "with", "", ""},
        {"auto", "with", "pulse", "pulse"},
        {"auto", "play", "wav:in.wav", here + "/in.wav"},
        {"auto", "play", "in.wav", "in.wav"},  // a variable means what tinyalsa takes it for
        {"card", "with", "pulse", ""},
        {"in.wav", "play", "pulse", here + "/in.wav"},
        {"plughw:1,0", "play", "", "plughw:1,0"},
        {"auto", "play", "", "no sound card 0 with a capture device", exit_failure},
        {"card", "play", "pulse", "no sound card 0", exit_failure},
        {"OUT.WAV", "with", "", "no file 'OUT.WAV'", exit_failure},
        {"wav:", "with", "", "no file ''", exit_failure},
        {"wav:play", "with", "", "no regular file", exit_failure},
        {"", "with", "", "--device is empty", exit_usage},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.device) + " " + row.proc_asound + " " + row.environment);
        try {
            const chosen_device source =
                choose_source({row.device, row.environment, row.proc_asound});
            EXPECT_EQ(source.variable, row.expected);
            EXPECT_STREQ(source.environment, "CORVEX_ALSA_CAPTURE");
            EXPECT_EQ(row.code, exit_success) << "was accepted";
        } catch (const program_error& error) {
            EXPECT_NE(std::string(error.what()).find(row.expected), std::string::npos)
                << error.what();
            EXPECT_EQ(error.code(), row.code);
        }
    }
}

}  // namespace
