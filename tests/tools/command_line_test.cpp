// The command line and its errors, and the commands that play nothing.

#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

TEST(CommandLine, ErrorsAreOneLineAndAStatus) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(960));
    write_file("silent.wav", wav16, 48000, 2, std::vector<int16_t>());
    write_file("nine.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 48000, 9, noise(90));
    write_file("slow.wav", wav16, 1999, 1, noise(10));
    write_file("fast.wav", wav16, 768001, 1, noise(10));
    write_bytes("empty.wav", "");
    write_bytes("text.wav", "these are no samples, whatever the name says\n");
    write_bytes("cut.wav", read_bytes("in.wav").substr(0, 30));
    write_bytes("module.so", "not a library");
    const struct {
        int exit_code;
        words arguments;
        const char* says;
        words variables = {};
    } rows[] = {
        {2, {}, "subcommand"},
        {2, {"sing"}, "no command 'sing'"},
        {2, {"play"}, "FILE"},
        {2, {"play", "in.wav", "--channels", "3"}, "--channels"},
        {2, {"play", "in.wav", "--device", ""}, "--device"},
        {2, {"info", "in.wav"}, "in.wav"},
        {2, {"setprop", "key"}, "VALUE"},
        {2, {"setprop", "two words", "value"}, "two words"},
        {2, {"setprop", "key", std::string(92, 'x')}, "key"},
        {2, {"--prop", "nothing", "info"}, "nothing"},
        {2, {"--prop", "=value", "info"}, "=value"},
        {2, {"--prop", "two words=value", "info"}, "two words"},
        {1, {"play", "absent.wav"}, "no file 'absent.wav'"},
        {1, {"play", "two\nlines.wav"}, "no file"},
        {1, {"play", "."}, "is a folder"},
        {1, {"play", "/dev/null"}, "not a regular file"},
        {1, {"play", "empty.wav"}, "is empty"},
        {1, {"play", "silent.wav"}, "no audio"},
        {1, {"play", "text.wav"}, "cannot read 'text.wav' as audio"},
        {1, {"play", "cut.wav"}, "cannot read 'cut.wav' as audio"},
        {1, {"play", "nine.wav"}, "9 channels"},
        {1, {"play", "slow.wav"}, "1999 Hz"},
        {1, {"play", "fast.wav"}, "768001 Hz"},
        {1, {"play", "in.wav", "-d", "in.wav"}, "is the file to be played"},
        {1, {"play", "in.wav", "-d", "out.wav", "--module", "absent.so"}, "absent.so"},
        {1, {"info", "--module", "module.so"}, "module.so"},
        {1, {"play", "in.wav", "-d", "out.wav", "--module", FOREIGN_MODULE_FILE}, "card 0 only"},
        {1, {"record", "out.wav", "-d", "null", "--module", FOREIGN_MODULE_FILE}, "card 0 only"},
        {1, {"loop", "-p", "null", "-d", "null", "--module", FOREIGN_MODULE_FILE}, "card 0 only"},
        {2, {"record"}, "FILE"},
        {2, {"record", "out.wav", "--channels", "3"}, "--channels"},
        {2, {"record", "out.wav", "--seconds", "0"}, "--seconds"},
        {2, {"record", "out.wav", "--rate", "-1"}, "--rate"},
        {2, {"record", "out.wav", "--device", ""}, "--device"},
        {1, {"record", "out.wav", "--device", "absent.wav"}, "no file 'absent.wav'"},
        {1, {"record", "out.wav", "--device", "wav:."}, "no regular file"},
        {1, {"record", "in.wav", "--device", "in.wav"}, "is the file to be recorded"},
        {1, {"record", "nowhere/out.wav", "-d", "in.wav"}, "no folder 'nowhere'"},
        {1, {"record", "/", "-d", "in.wav"}, "names no file"},
        {2, {"loop", "-p", "out.wav"}, "hears only what is played into it"},
        {2, {"loop", "-p", "out.wav", "-d", "in.wav"}, "hears only what is played into it"},
        {2, {"loop", "-p", "null", "-d", "in.wav"}, "hears only what is played into it"},
        {1, {"setprop", "k", "v"}, "/proc/none/p", {"CORVEX_PROPERTY_FILE=/proc/none/p"}},
        {1, {"setprop", "k", "v"}, "set HOME", {"CORVEX_PROPERTY_FILE=", "HOME="}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        expect_error(run_program(row.arguments, row.variables), row.exit_code, row.says);
    }
    EXPECT_EQ(read_samples("in.wav"), noise(960)) << "no error may touch the input";
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAFailure) {
    const scratch_dir dir;
    std::filesystem::create_symlink("/dev/full", "printed.out");
    expect_error(run_program({"--version"}), 1, "standard output");
}

// Each row is a run in the same folder, so that what one sets the next one finds.
TEST(CommandLine, HelpVersionAndPropertiesGoToStandardOutput) {
    const scratch_dir dir;
    const struct {
        words arguments;
        const char* says;
        bool all = true;  // says all of what is printed
    } rows[] = {
        {{"--help"}, "setprop", false},
        {{"play", "-h"}, "--device", false},
        {{"--version"}, "corvex-hal ", false},
        {{"setprop", "b.key", "two words"}, ""},
        {{"setprop", "a.key", "--", "-1"}, ""},
        {{"getprop", "b.key"}, "two words\n"},
        {{"--prop", "b.key=a,b=c", "--prop", "c.key=1", "getprop", "b.key"}, "a,b=c\n"},
        {{"getprop", "c.key", "--prop", "b.key=x", "--prop", "c.key=2"}, "2\n"},
        {{"getprop"}, "a.key=-1\nb.key=two words\n"},
        {{"setprop", "b.key", ""}, ""},
        {{"getprop", "b.key"}, "\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const finished result = run_program(row.arguments);
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(row.all ? result.out == row.says : has(result.out, row.says)) << result.out;
    }
}

TEST(InfoCommand, AbsentOperationsAreNamedAndNeverCalled) {
    const scratch_dir dir;
    const finished result = run_with_fake({"FAKE_bare=1"}, {"info"});
    EXPECT_EQ(result.exit_code, 0) << result.err << " signal " << result.signal;
    for (const char* part :
         {"fake audio module", "the tests", "0x48574d54\n", "2.0 (0x0200)",
          "master volume    absent", "init check       absent", "get_sample_rate set_sample_rate",
          "update_source_metadata", "stereo 48000     refused: -38"}) {
        EXPECT_TRUE(has(result.out, part)) << part << "\n" << result.out;
    }
    const std::string calls = read_bytes("calls");
    for (const char* part : {"open audio_hw_if\n", "open_output_stream 48000 63 1 2 2\n",
                             "open_output_stream 48000 3 150994944 2 1\n",
                             "open_output_stream 48000 3 1 2 65\nclose_output_stream\nclose_dev"}) {
        EXPECT_TRUE(has(calls, part)) << part << "\n" << calls;
    }
}

TEST(CommandLine, OnlyWhoNeedsAPlayerServiceWaitsForOne) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(96));
    const struct {
        words arguments;
        std::string waits_ms;  // empty: as long as the library has it
    } rows[] = {{{"info"}, "0"},
                {{"play", "in.wav", "-d", "null"}, "0"},
                {{"record", "out.wav", "-d", "null", "-s", "0.01"}, "0"},
                {{"loop", "-p", "null", "-d", "null"}, "0"},
                {{"sync", "--service", FAKE_SERVICE_FILE}, ""},
                {{"tunnel", "in.wav", "--service", FAKE_SERVICE_FILE}, ""}};
    for (const auto& row : rows) {
        for (const std::string set_ms : {"", "70"}) {
            std::remove("service_wait");
            run_with_fake({"CORVEX_BINDER_WAIT_MS=" + set_ms}, row.arguments);
            EXPECT_EQ(read_bytes("service_wait"), set_ms.empty() ? row.waits_ms : set_ms)
                << testing::PrintToString(row.arguments);
        }
    }
}

TEST(InfoCommand, RefusalsAreReportedWithTheirCode) {
    const scratch_dir dir;
    const finished result = run_with_fake({"FAKE_open_stream=-22"}, {"info"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(has(result.out, "tunnel           refused: -22 (Invalid argument)")) << result.out;
}

}  // namespace
