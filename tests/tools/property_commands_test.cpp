#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/subprocess.h"

namespace {

TEST(PropertyCommands, WhatIsSetIsThereForTheNextRun) {
    const scratch_dir dir;
    EXPECT_EQ(run_program({"setprop", "b.key", "two words"}).exit_code, 0);
    EXPECT_EQ(run_program({"setprop", "a.key", "--", "-1"}).exit_code, 0);
    EXPECT_EQ(run_program({"getprop", "b.key"}).out, "two words\n");
    EXPECT_EQ(run_program({"getprop"}).out, "a.key=-1\nb.key=two words\n");
    EXPECT_EQ(run_program({"setprop", "b.key", ""}).exit_code, 0);
    const finished unset = run_program({"getprop", "b.key"});
    EXPECT_EQ(unset.out, "\n");
    EXPECT_EQ(unset.exit_code, 0);
}

TEST(PropertyCommands, OverridesLastOneRunAndMayHoldCommasAndEquals) {
    const scratch_dir dir;
    EXPECT_EQ(run_program({"setprop", "key", "kept"}).exit_code, 0);
    EXPECT_EQ(run_program({"--prop", "key=a,b=c", "--prop", "other=1", "getprop", "key"}).out,
              "a,b=c\n");
    EXPECT_EQ(run_program({"getprop", "other", "--prop", "key=x", "--prop", "other=2"}).out, "2\n");
    EXPECT_EQ(run_program({"getprop"}).out, "key=kept\n");
}

TEST(PropertyCommands, AFileThatCannotBeWrittenIsOneLine) {
    const scratch_dir dir;
    const struct {
        environment changes;
        const char* says;
    } rows[] = {
        {{{"CORVEX_PROPERTY_FILE", "/proc/none/properties"}}, "/proc/none/properties"},
        {{{"CORVEX_PROPERTY_FILE", ""}, {"XDG_CONFIG_HOME", ""}, {"HOME", ""}}, "set HOME"},
    };
    for (const auto& row : rows) {
        const finished result = run_program({"setprop", "key", "value"}, row.changes);
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_NE(result.err.find(row.says), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

}  // namespace
