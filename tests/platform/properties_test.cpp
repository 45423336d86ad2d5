// Looking properties up: values, defaults, conversions, overrides, and changes of the file.
//
// This program's stat() and fstat() come before the C library's, and the properties library uses
// them too: each file's clock ticks every two seconds, as on FAT.

#include <algorithm>
#include <errno.h>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>

#include "tests/platform/property_fixture.h"

namespace {

using Properties = PropertyFixture;

TEST_F(Properties, ALineIsReadAsAPropertyOrSkipped) {
    const std::string longest(91, 'v');
    const struct {
        const char* name;
        std::string text;
        std::string value;  // of the key "a.key"
    } rows[] = {
        {"no line end", "a.key=value", "value"},
        {"value with everything", "a.key= x = #y \t\n", " x = #y \t"},
        {"blanks before the equals sign", " a.key \t=  value\n", "value"},
        {"line end of another system", "a.key=value\r\n", "value"},
        {"comment", "#a.key=value\n  # a.key=value\n", ""},
        {"no equals sign", "a.key\na.key value\n", ""},
        {"the last line counts", "a.key=first\na.key=second\n", "second"},
        {"junk around", "\x01\xff=1\n\n=\na key=2\na.key=value\nb\n", "value"},
        {"another key begins alike", "a.key2=x\na.ke=y\n", ""},
        {"longest value", "a.key=" + longest + "\n", longest},
        {"too long value", "a.key=" + longest + "w\n", longest},
        {"zero in the value", std::string("a.key=va\0lue\n", 13), "va"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write(row.text);
        EXPECT_EQ(get("a.key"), row.value);
    }
}

TEST_F(Properties, TheDefaultStandsInForUnsetAndEmpty) {
    write("set=x\nempty=\n");
    const std::string longest(91, 'd');
    EXPECT_EQ(get("set", "default"), "x");
    EXPECT_EQ(get("unset", "default"), "default");
    EXPECT_EQ(get("empty", "default"), "default");
    EXPECT_EQ(get("unset", (longest + "e").c_str()), longest);
    char value[PROPERTY_VALUE_MAX] = "x";
    EXPECT_EQ(property_get(nullptr, value, "default"), 7);
    EXPECT_EQ(property_get("unset", value, value), 7);  // the default already in place
    EXPECT_STREQ(value, "default");
    EXPECT_EQ(property_get("unset", value, nullptr), 0);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(property_get("set", nullptr, "default"), 0);
}

TEST_F(Properties, BooleansAndNumbersAreReadWholeOrGiveTheDefault) {
    const struct {
        const char* value;
        int8_t as_bool;  // each with the default 7
        int32_t as_int32;
        int64_t as_int64;
    } rows[] = {
        {"1", 1, 1, 1},
        {"y", 1, 7, 7},
        {"yes", 1, 7, 7},
        {"on", 1, 7, 7},
        {"true", 1, 7, 7},
        {"0", 0, 0, 0},
        {"n", 0, 7, 7},
        {"no", 0, 7, 7},
        {"off", 0, 7, 7},
        {"false", 0, 7, 7},
        {"", 7, 7, 7},
        {"TRUE", 7, 7, 7},
        {"0x10", 7, 16, 16},
        {"010", 7, 8, 8},
        {"4x", 7, 7, 7},
        {"-42", 7, -42, -42},
        {"2147483647", 7, INT32_MAX, INT32_MAX},
        {"2147483648", 7, 7, INT64_C(2147483648)},
        {"-2147483648", 7, INT32_MIN, INT32_MIN},
        {"-2147483649", 7, 7, INT64_C(-2147483649)},
        {"9223372036854775807", 7, 7, INT64_MAX},
        {"9223372036854775808", 7, 7, 7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        property_override("key", row.value);
        EXPECT_EQ(property_get_bool("key", 7), row.as_bool);
        EXPECT_EQ(property_get_int32("key", 7), row.as_int32);
        EXPECT_EQ(property_get_int64("key", 7), row.as_int64);
    }
}

TEST_F(Properties, OverridesWinOverTheFileUntilTheyEnd) {
    write("a=file\nb=file\n");
    EXPECT_EQ(property_override("a", "mine"), 0);
    EXPECT_EQ(property_override("b", ""), 0);
    EXPECT_EQ(get("b", "default"), "default");
    EXPECT_EQ(property_set("a", "set"), 0);
    EXPECT_EQ(get("a"), "mine");
    EXPECT_EQ(property_override("a", nullptr), 0);
    EXPECT_EQ(get("a"), "set");
    property_clear_overrides();
    EXPECT_EQ(get("b"), "file");
}

TEST_F(Properties, TheListIsWhatLookUpsWouldAnswer) {
    write("b=file\na=file\nempty=\nhidden=file\n");
    property_override("a", "mine");
    property_override("hidden", "");
    std::string listed;
    const auto add = [](const char* key, const char* value, void* cookie) {
        *static_cast<std::string*>(cookie) += std::string(key) + "=" + value + " ";
    };
    EXPECT_EQ(property_list(add, &listed), 0);
    EXPECT_EQ(listed, "a=mine b=file ");
}

TEST_F(Properties, ChangesOfTheSameSizeWithinATickOfTheClockAreSeen) {
    for (int i = 100; i < 500; ++i) {
        const std::string value = std::to_string(i);
        if (i < 300) {
            std::ofstream("staged") << "key=" << value;
            std::filesystem::rename("staged", path_);
        } else {
            std::fstream(path_, std::ios::in | std::ios::out) << "key=" << value;
        }
        ASSERT_EQ(get("key"), value);
    }
}

TEST_F(Properties, ThePathFollowsTheEnvironment) {
    const char* const rows[][4] = {
        {"/x/file", "/c", "/h", "/x/file"},
        {"", "/c", "/h", "/c/corvex/properties"},
        {"", "relative", "/h", "/h/.config/corvex/properties"},
        {"", "", "", ""},
    };
    const pid_t child = start_process([&] {  // the test's own environment stays as it is
        int wrong = 0;
        for (const auto& [file, config, home, path] : rows) {
            setenv("CORVEX_PROPERTY_FILE", file, 1);
            setenv("XDG_CONFIG_HOME", config, 1);
            setenv("HOME", home, 1);
            wrong += std::string(path) != property_file_path();
        }
        return wrong + (property_set("key", "value") != -ENOENT);
    });
    EXPECT_EQ(exit_status(child), 0);
}

// The library holds no lock while it logs: a logger may look properties up, as a debug switch does.
TEST_F(Properties, WhatIsNoPropertyFileIsReportedOnceAndIgnored) {
    static std::string seen;
    mkdir("folder", 0700);
    mkfifo("pipe", 0600);
    std::ofstream("large") << "key=value\n" << std::string((1 << 20) - 9, '#');
    property_override("other", "!");
    for (const char* name : {"folder", "pipe", "large"}) {
        SCOPED_TRACE(name);
        setenv("CORVEX_PROPERTY_FILE", name, 1);
        seen.clear();
        __android_log_set_logger([](const struct __android_logger_data*, const char* message) {
            seen += message + get("other");
        });
        EXPECT_EQ(get("key", "default"), "default");
        EXPECT_EQ(get("key", "default"), "default");
        EXPECT_NE(seen.find(name), std::string::npos);
        EXPECT_EQ(std::count(seen.begin(), seen.end(), '!'), 1) << seen;
        EXPECT_EQ(property_set("key", "value"), *name == 'l' ? -EFBIG : -EINVAL);
    }
}

}  // namespace

static int with_coarse_times(int result, struct stat* status) {
    if (result == 0) {
        status->st_mtim = status->st_ctim = {status->st_ctim.tv_sec / 2 * 2, 0};
    }
    return result;
}
extern "C" int stat(const char* path, struct stat* status) noexcept {
    return with_coarse_times(fstatat(AT_FDCWD, path, status, 0), status);
}
extern "C" int fstat(int fd, struct stat* status) noexcept {
    return with_coarse_times(fstatat(fd, "", status, AT_EMPTY_PATH), status);
}
