#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tools/sink_device.h"
#include "tools/tool_error.h"

namespace fs = std::filesystem;

namespace {

// music/song.flac to play, and two /proc/asound folders: `none`, and `with` a card 0.
struct sink_rule : testing::Test {
    sink_rule() {
        for (const char* folder : {"music", "none", "with/card0/pcm0p", "capture/card0/pcm0c"}) {
            fs::create_directories(folder);
        }
        write_bytes("music/song.flac", "sound");
        write_bytes("with/card0/id", "Loop\n");
        write_bytes("with/card0/pcm0p/info", "card: 0\nname: Loop PCM\nsubname: x\n");
    }

    sink_device choose(const std::string& device, const std::string& proc_asound,
                       const std::string& environment = "") const {
        return choose_sink({device, "music/song.flac", environment, proc_asound});
    }

    scratch_dir dir;
};

TEST_F(sink_rule, ChoosesWhereToPlay) {
    const std::string here = fs::current_path().string();
    const struct {
        const char* device;
        const char* proc_asound;
        const char* environment;
        std::string variable;  // what the module will see; empty means hw:0,0
    } rows[] = {
        {"auto", "with", "", ""},
        {"auto", "none", "", "wav:" + here + "/music/song.played.wav"},
        {"auto", "capture", "", "wav:" + here + "/music/song.played.wav"},
        {"auto", "with", "pulse", "pulse"},
        {"auto", "none", "wav:x.wav", "wav:" + here + "/x.wav"},
        {"card", "with", "pulse", ""},
        {"out.wav", "with", "pulse", "wav:" + here + "/out.wav"},
        {"music/../OUT.WAV", "none", "", "wav:" + here + "/OUT.WAV"},
        {"wav:out", "none", "", "wav:" + here + "/out"},
        {"plughw:1,0", "none", "", "plughw:1,0"},
        {"default", "with", "", "default"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.device) + " " + row.proc_asound + " " + row.environment);
        EXPECT_EQ(choose(row.device, row.proc_asound, row.environment).variable_value(),
                  row.variable);
    }
}

TEST_F(sink_rule, RefusesSinksThatCannotWork) {
    fs::create_directories("folder.wav");
    fs::create_symlink("music/song.flac", "link.wav");
    fs::create_hard_link("music/song.flac", "hard.wav");
    const struct {
        const char* device;
        const char* environment;
        const char* says;
        int code;
    } rows[] = {
        {"card", "", "no sound card 0", exit_failure},
        {"nowhere/out.wav", "", "no folder 'nowhere'", exit_failure},
        {"folder.wav", "", "no regular file", exit_failure},
        {"link.wav", "", "is the file to be played", exit_failure},
        {"hard.wav", "", "is the file to be played", exit_failure},
        {"wav:music/song.flac", "", "is the file to be played", exit_failure},
        {"auto", "wav:music/song.flac", "is the file to be played", exit_failure},
        {"wav:", "", "names no file", exit_failure},
        {"wav:music/", "", "names no file", exit_failure},
        {"", "", "--device is empty", exit_usage},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        try {
            choose(row.device, "none", row.environment);
            ADD_FAILURE() << "was accepted";
        } catch (const tool_error& error) {
            EXPECT_NE(std::string(error.what()).find(row.says), std::string::npos) << error.what();
            EXPECT_EQ(error.code(), row.code);
        }
    }
    EXPECT_EQ(read_bytes("music/song.flac"), "sound");
}

// Nobody makes files in /proc, root included.
TEST_F(sink_rule, AutoFallsBackToTheCurrentFolder) {
    const sink_request request = {"auto", "/proc/self/cmdline", "", fs::current_path() / "none"};
    EXPECT_EQ(choose_sink(request).wav_path, fs::current_path() / "cmdline.played.wav");
    EXPECT_FALSE(fs::exists("cmdline.played.wav")) << "choosing only looks";
    fs::current_path("/proc/self");
    EXPECT_THROW(choose_sink(request), tool_error);
}

TEST_F(sink_rule, NamesTheCardAndSetsTheVariable) {
    const sink_device card = choose("card", "with");
    EXPECT_EQ(card.text(), "card 0 'Loop', device 0 'Loop PCM' (hw:0,0)");
    choose("pulse", "with").apply();
    ASSERT_NE(std::getenv(playback_variable), nullptr);
    EXPECT_STREQ(std::getenv(playback_variable), "pulse");
    card.apply();
    EXPECT_EQ(std::getenv(playback_variable), nullptr);
}

}  // namespace
