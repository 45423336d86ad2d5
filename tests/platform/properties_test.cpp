// Looking properties up: values, defaults, conversions, overrides, and changes of the file.
#include <errno.h>
#include <limits>
#include <string.h>
#include <sys/stat.h>
#include <vector>

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
        {"plain", "a.key=value\n", "value"},
        {"no line end", "a.key=value", "value"},
        {"value with everything", "a.key= x = #y \t\n", " x = #y \t"},
        {"blanks before the equals sign", " a.key \t=  value\n", "value"},
        {"line end of another system", "a.key=value\r\n", "value"},
        {"empty", "a.key=\n", ""},
        {"comment", "#a.key=value\n  # a.key=value\n", ""},
        {"no equals sign", "a.key\na.key value\n", ""},
        {"no key", "=value\n", ""},
        {"the last line counts", "a.key=first\na.key=second\n", "second"},
        {"junk around", "\x01\xff=1\n\n=\na key=2\na.key=value\nb\n", "value"},
        {"another key begins alike", "a.key2=x\na.ke=y\n", ""},
        {"longest value", "a.key=" + longest + "\n", longest},
        {"too long value", "a.key=" + longest + "w\n", longest},
        {"much too long value", "a.key=" + std::string(100000, 'v') + "\n", longest},
        {"zero in the value", std::string("a.key=va\0lue\n", 13), "va"},
        {"zero in the key", std::string("a.k\0ey=1\na.key=value\n", 21), "value"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write(row.text);
        EXPECT_EQ(get("a.key"), row.value);
    }
}

TEST_F(Properties, TheDefaultStandsInForUnsetAndEmpty) {
    write(std::string("set=x\nempty=\nzero=\0x\n", 21));
    const std::string longest(91, 'd');
    EXPECT_EQ(get("set", "default"), "x");
    EXPECT_EQ(get("unset", "default"), "default");
    EXPECT_EQ(get("empty", "default"), "default");
    EXPECT_EQ(get("zero", "default"), "default");
    EXPECT_EQ(get("unset", (longest + "e").c_str()), longest);
    char value[PROPERTY_VALUE_MAX];
    memset(value, 'p', sizeof(value));
    EXPECT_EQ(property_get(nullptr, value, "default"), 7);
    EXPECT_STREQ(value, "default");
    EXPECT_EQ(property_get("unset", value, value), 7);  // the default already in place
    EXPECT_STREQ(value, "default");
    EXPECT_EQ(property_get("unset", value, nullptr), 0);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(property_get("set", nullptr, "default"), 0);
}

TEST_F(Properties, KeysMayBeOfAnyLength) {
    const std::string key(500, 'k');
    EXPECT_EQ(property_set(key.c_str(), "value"), 0);
    EXPECT_EQ(get(key), "value");
}

TEST_F(Properties, BooleansAreReadFromTheirWordsOnly) {
    const struct {
        const char* value;
        int8_t result;  // with the default 7
    } rows[] = {
        {"1", 1},    {"y", 1},  {"yes", 1},  {"on", 1},    {"true", 1}, {"0", 0},
        {"n", 0},    {"no", 0}, {"off", 0},  {"false", 0}, {"", 7},     {"2", 7},
        {"TRUE", 7}, {"ye", 7}, {"yes ", 7}, {"01", 7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        property_override("key", row.value);
        EXPECT_EQ(property_get_bool("key", 7), row.result);
    }
}

TEST_F(Properties, NumbersOutOfRangeOrWithMoreTextGiveTheDefault) {
    const struct {
        const char* value;
        int32_t as_int32;  // with the default 7
        int64_t as_int64;
    } rows[] = {
        {"42", 42, 42},
        {"-42", -42, -42},
        {"0x10", 16, 16},
        {"010", 8, 8},
        {"2147483647", INT32_MAX, INT32_MAX},
        {"2147483648", 7, INT64_C(2147483648)},
        {"-2147483648", INT32_MIN, INT32_MIN},
        {"-2147483649", 7, INT64_C(-2147483649)},
        {"9223372036854775807", 7, INT64_MAX},
        {"9223372036854775808", 7, 7},
        {"-9223372036854775808", 7, INT64_MIN},
        {"", 7, 7},
        {"x", 7, 7},
        {"4x", 7, 7},
        {"4 ", 7, 7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        property_override("key", row.value);
        EXPECT_EQ(property_get_int32("key", 7), row.as_int32);
        EXPECT_EQ(property_get_int64("key", 7), row.as_int64);
    }
}

TEST_F(Properties, OverridesWinOverTheFileUntilTheyEnd) {
    write("a=file\nb=file\n");
    EXPECT_EQ(property_override("a", "mine"), 0);
    EXPECT_EQ(property_override("b", ""), 0);
    EXPECT_EQ(get("a"), "mine");
    EXPECT_EQ(get("b", "default"), "default");
    EXPECT_EQ(property_set("a", "set"), 0);
    EXPECT_EQ(get("a"), "mine");
    EXPECT_EQ(property_override("a", nullptr), 0);
    EXPECT_EQ(property_override("never", nullptr), 0);
    EXPECT_EQ(get("a"), "set");
    property_clear_overrides();
    EXPECT_EQ(get("b"), "file");
}

TEST_F(Properties, TheListIsWhatLookUpsWouldAnswer) {
    const std::string longest(91, 'v');
    write("b=file\na=file\nempty=\nhidden=file\nlong=" + longest + "v\n");
    property_override("a", "mine");
    property_override("c", "mine");
    property_override("hidden", "");
    std::string listed;
    const auto add = [](const char* key, const char* value, void* cookie) {
        *static_cast<std::string*>(cookie) += std::string(key) + "=" + value + " ";
        property_set("another", "1");  // the list is not locked meanwhile
    };
    EXPECT_EQ(property_list(add, &listed), 0);
    EXPECT_EQ(listed, "a=mine b=file c=mine long=" + longest + " ");
    EXPECT_EQ(property_list(nullptr, nullptr), -EINVAL);
}

TEST_F(Properties, AChangeByAnotherProcessIsSeenAtOnce) {
    write("key=old\n");
    EXPECT_EQ(get("key"), "old");
    const pid_t child = start_process([] { return property_set("key", "new") == 0 ? 0 : 1; });
    EXPECT_EQ(exit_status(child), 0);
    EXPECT_EQ(get("key"), "new");
    ASSERT_EQ(unlink(path_.c_str()), 0);
    EXPECT_EQ(get("key", "gone"), "gone");
}

TEST_F(Properties, ThePathFollowsTheEnvironment) {
    const std::string home = scratch_.file("home");
    const std::string config = scratch_.file("config");
    const struct {
        const char* file;
        const char* config;
        const char* home;
        std::string path;
    } rows[] = {
        {"/x/file", config.c_str(), home.c_str(), "/x/file"},
        {"relative", config.c_str(), home.c_str(), "relative"},
        {"", config.c_str(), home.c_str(), config + "/corvex/properties"},
        {nullptr, "relative", home.c_str(), home + "/.config/corvex/properties"},
        {nullptr, nullptr, home.c_str(), home + "/.config/corvex/properties"},
        {nullptr, nullptr, "", ""},
        {nullptr, nullptr, nullptr, ""},
    };
    const auto set = [](const char* name, const char* value) {
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    };
    const pid_t child = start_process([&] {  // the test's own environment stays as it is
        for (const auto& row : rows) {
            set("CORVEX_PROPERTY_FILE", row.file);
            set("XDG_CONFIG_HOME", row.config);
            set("HOME", row.home);
            if (row.path != property_file_path()) {
                fprintf(stderr, "%s, not %s\n", property_file_path(), row.path.c_str());
                return 1;
            }
            if (row.path.empty() && property_set("key", "value") != -ENOENT) {
                return 2;
            }
        }
        return 0;
    });
    EXPECT_EQ(exit_status(child), 0);
}

TEST_F(Properties, WhatIsNoPropertyFileIsReportedOnceAndIgnored) {
    const struct {
        const char* name;
        void (*make)(const std::string& path);
        int set_result;
    } rows[] = {
        {"folder", [](const std::string& path) { mkdir(path.c_str(), 0700); }, -EINVAL},
        {"pipe", [](const std::string& path) { mkfifo(path.c_str(), 0600); }, -EINVAL},
        {"too large",
         [](const std::string& path) {
             std::ofstream(path) << "key=value\n" << std::string((1 << 20) - 9, '#');
         },
         -EFBIG},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = scratch_.file(row.name);
        row.make(path);
        setenv("CORVEX_PROPERTY_FILE", path.c_str(), 1);
        log_.clear();
        EXPECT_EQ(get("key", "default"), "default");
        EXPECT_EQ(log_.count_containing(path), 1);
        log_.clear();
        EXPECT_EQ(get("key", "default"), "default");
        EXPECT_EQ(log_.lines().size(), 0u);
        EXPECT_EQ(property_set("key", "value"), row.set_result);
    }
}

// The library holds no lock while it logs: a logger may look properties up, as a debug switch does.
TEST_F(Properties, ALoggerMayLookPropertiesUp) {
    static std::string seen;
    ASSERT_EQ(mkdir(path_.c_str(), 0700), 0);
    __android_log_set_logger(
        [](const struct __android_logger_data*, const char*) { seen += get("other"); });
    property_override("other", "from the logger");
    EXPECT_EQ(get("key", "default"), "default");
    EXPECT_EQ(seen, "from the logger");
}

}  // namespace
