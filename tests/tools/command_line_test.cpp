// What a wrong command line or a wrong file gets: its exit status and exactly one line.

#include <algorithm>
#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

void expect_one_error_line(const finished& result, int exit_code, const std::string& says) {
    EXPECT_EQ(result.exit_code, exit_code);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("corvex-hal: ", 0), 0U) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(says), std::string::npos) << result.err;
    // What is wrong, then what to do.
    EXPECT_NE(result.err.find("; "), std::string::npos) << result.err;
}

TEST(CommandLine, WrongArgumentsGetOneLineAndStatusTwo) {
    const scratch_dir dir;
    write_file("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, noise(960));
    const struct {
        std::vector<std::string> arguments;
        const char* says;
    } rows[] = {
        {{}, "subcommand"},
        {{"-v"}, "subcommand"},
        {{"sing"}, "no command 'sing'"},
        {{"play"}, "FILE"},
        {{"play", "in.wav", "more.wav"}, "more.wav"},
        {{"play", "in.wav", "--channels", "3"}, "--channels"},
        {{"play", "in.wav", "--channels", "two"}, "--channels"},
        {{"play", "in.wav", "--device"}, "--device"},
        {{"play", "in.wav", "--device", ""}, "--device"},
        {{"play", "in.wav", "--loud"}, "--loud"},
        {{"info", "in.wav"}, "in.wav"},
        {{"setprop", "key"}, "VALUE"},
        {{"setprop", "two words", "value"}, "two words"},
        {{"setprop", "key", "two\nlines"}, "key"},
        {{"setprop", "key", std::string(92, 'x')}, "key"},
        {{"--prop", "nothing", "info"}, "nothing"},
        {{"--prop", "=value", "info"}, "=value"},
        {{"--prop", "two words=value", "info"}, "two words"},
        {{"--prop"}, "--prop"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        expect_one_error_line(run_program(row.arguments), 2, row.says);
    }
}

TEST(CommandLine, WrongFilesGetOneLineAndStatusOne) {
    const scratch_dir dir;
    write_file("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, noise(960));
    write_file("silent.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, std::vector<int16_t>());
    write_bytes("empty.wav", "");
    write_bytes("text.wav", "these are no samples, whatever the name says\n");
    write_bytes("cut.wav", read_bytes("in.wav").substr(0, 30));
    write_bytes("module.so", "not a library");
    const struct {
        std::vector<std::string> arguments;
        const char* says;
    } rows[] = {
        {{"play", "absent.wav"}, "no file 'absent.wav'"},
        {{"play", "two\nlines.wav"}, "no file"},
        {{"play", "."}, "is a folder"},
        {{"play", "empty.wav"}, "is empty"},
        {{"play", "silent.wav"}, "no audio"},
        {{"play", "text.wav"}, "cannot read 'text.wav' as audio"},
        {{"play", "cut.wav"}, "cannot read 'cut.wav' as audio"},
        {{"play", "in.wav", "-d", "in.wav"}, "is the file to be played"},
        {{"play", "in.wav", "-d", "no/out.wav"}, "no folder 'no'"},
        {{"play", "in.wav", "-d", "out.wav", "--module", "absent.so"}, "absent.so"},
        {{"play", "in.wav", "-d", "out.wav", "--module", "module.so"}, "module.so"},
        {{"info", "--module", "module.so"}, "module.so"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        expect_one_error_line(run_program(row.arguments), 1, row.says);
    }
    EXPECT_EQ(read_file("in.wav").samples, noise(960)) << "no error may touch the input";
}

TEST(CommandLine, HelpAndVersionSucceedOnStandardOutput) {
    const struct {
        std::vector<std::string> arguments;
        const char* says;
    } rows[] = {
        {{"--help"}, "setprop"},        {{"play", "--help"}, "--device"},
        {{"play", "-h"}, "Examples:"},  {{"info", "--help"}, "Examples:"},
        {{"--version"}, "corvex-hal "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const finished result = run_program(row.arguments);
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find(row.says), std::string::npos) << result.out;
    }
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAFailure) {
    const scratch_dir dir;
    subprocess program({"/bin/sh", "-c", "exec " CORVEX_HAL_PROGRAM " --version > /dev/full"},
                       clean_environment());
    const finished result = program.wait();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.err.find("standard output"), std::string::npos) << result.err;
}

}  // namespace
