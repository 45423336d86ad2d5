#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "host/program_error.h"
#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tools/device/sink_device.h"
#include "tools/device/source_device.h"

namespace fs = std::filesystem;

namespace {

// music/song.flac to play, and three /proc/asound folders: without a card, with one that plays, and
// with one that only records.
struct device_rule : testing::Test {
    device_rule() {
        for (const char* folder :
             {"music", "folder.wav", "none", "with/card0/pcm0p", "capture/card0/pcm0c"}) {
            fs::create_directories(folder);
        }
        write_bytes("music/song.flac", "sound");
        fs::create_symlink("music/song.flac", "link.wav");
        fs::create_hard_link("music/song.flac", "hard.wav");
        write_bytes("with/card0/id", "Loop\n");
        write_bytes("with/card0/pcm0p/info", "card: 0\nname: Loop PCM\nsubname: x\n");
    }

    scratch_dir dir;
};

struct rule_row {
    const char* device;
    const char* proc_asound;
    const char* environment;
    std::string expected;  // what the module will see, empty for hw:0,0; or part of the error
    int code = exit_success;
};

template <typename Choose>
void expect_choices(const std::vector<rule_row>& rows, Choose choose) {
    for (const rule_row& row : rows) {
        SCOPED_TRACE(std::string(row.device) + " " + row.proc_asound + " " + row.environment);
        try {
            EXPECT_EQ(choose(row).variable, row.expected);
            EXPECT_EQ(row.code, exit_success) << "was accepted";
        } catch (const program_error& error) {
            EXPECT_NE(std::string(error.what()).find(row.expected), std::string::npos)
                << error.what();
            EXPECT_EQ(error.code(), row.code);
        }
    }
}

TEST_F(device_rule, ChoosesWhereToPlayOrSaysWhyNot) {
    const std::string here = "wav:" + fs::current_path().string();
    const std::vector<rule_row> rows = {
        {"auto", "with", "", ""},
        {"auto", "none", "", here + "/music/song.played.wav"},
        {"auto", "capture", "", here + "/music/song.played.wav"},
        {"auto", "with", "pulse", "pulse"},
        {"auto", "none", "wav:x.wav", here + "/x.wav"},
        {"card", "with", "pulse", ""},
        {"out.wav", "with", "pulse", here + "/out.wav"},
        {"music/../OUT.WAV", "none", "", here + "/OUT.WAV"},
        {"wav:out", "none", "", here + "/out"},
        {"plughw:1,0", "none", "", "plughw:1,0"},
        {"card", "none", "", "no sound card 0", exit_failure},
        {"nowhere/out.wav", "none", "", "no folder 'nowhere'", exit_failure},
        {"folder.wav", "none", "", "no regular file", exit_failure},
        {"link.wav", "none", "", "is the file to be played", exit_failure},
        {"hard.wav", "none", "", "is the file to be played", exit_failure},
        {"auto", "none", "wav:music/song.flac", "is the file to be played", exit_failure},
        {"wav:music/", "none", "", "names no file", exit_failure},
        {"", "none", "", "--device is empty", exit_usage},
    };
    expect_choices(rows, [](const rule_row& row) {
        return choose_sink({row.device, "music/song.flac", row.environment, row.proc_asound});
    });
    EXPECT_EQ(read_bytes("music/song.flac"), "sound");
    EXPECT_FALSE(fs::exists("music/song.played.wav")) << "choosing only looks";
}

TEST_F(device_rule, ChoosesWhatToRecordOrSaysWhyNot) {
    write_bytes("in.wav", "sound");
    const std::string here = "wav:" + fs::current_path().string();
    const std::vector<rule_row> rows = {
        {"auto", "capture", "", ""},
        {"auto", "capture", "pulse", "pulse"},
        {"auto", "with", "wav:in.wav", here + "/in.wav"},
        {"auto", "with", "in.wav", "in.wav"},  // a variable means what tinyalsa takes it for
        {"card", "capture", "pulse", ""},
        {"in.wav", "with", "pulse", here + "/in.wav"},
        {"plughw:1,0", "with", "", "plughw:1,0"},
        {"auto", "with", "", "no sound card 0 with a capture device", exit_failure},
        {"card", "with", "pulse", "no sound card 0", exit_failure},
        {"OUT.WAV", "capture", "", "no file 'OUT.WAV'", exit_failure},
        {"wav:", "capture", "", "no file ''", exit_failure},
        {"wav:folder.wav", "capture", "", "no regular file", exit_failure},
        {"", "capture", "", "--device is empty", exit_usage},
    };
    expect_choices(rows, [](const rule_row& row) {
        const chosen_device source = choose_source({row.device, row.environment, row.proc_asound});
        EXPECT_STREQ(source.environment, "CORVEX_ALSA_CAPTURE");
        return source;
    });
}

// Nobody makes files in /proc, root included.
TEST_F(device_rule, AutoFallsBackToTheCurrentFolder) {
    const sink_request request = {"auto", "/proc/self/cmdline", "", fs::current_path() / "none"};
    EXPECT_EQ(choose_sink(request).wav_path, fs::current_path() / "cmdline.played.wav");
    fs::current_path("/proc/self");
    EXPECT_THROW(choose_sink(request), program_error);
}

TEST_F(device_rule, NamesTheCardAndSetsTheVariable) {
    const sink_device card = choose_sink({"card", "music/song.flac", "", "with"});
    EXPECT_EQ(card.text, "card 0 'Loop', device 0 'Loop PCM' (hw:0,0)");
    choose_sink({"pulse", "music/song.flac", "", "with"}).apply();
    EXPECT_STREQ(std::getenv(playback_variable), "pulse");
    card.apply();
    EXPECT_EQ(std::getenv(playback_variable), nullptr);
}

}  // namespace
