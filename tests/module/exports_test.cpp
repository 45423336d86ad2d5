#include <cstdio>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

TEST(Exports, AreExactlyThePublishedNames) {
    const std::string command =
        std::string(CORVEX_NM) + " -D --defined-only --format=posix '" CORVEX_MODULE_FILE "'";
    FILE* const pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> exported;
    char line[512];
    while (fgets(line, sizeof(line), pipe) != nullptr) {
        std::string name;
        std::istringstream(line) >> name;
        exported.insert(name);
    }
    ASSERT_EQ(pclose(pipe), 0);
    const std::set<std::string> expected = {
        "HMI",
        "custom_close",
        "custom_init",
        "custom_open",
        "gbEnableDataPath",
        "gbEnablePts",
        "gbEnableTrace",
        "gbEnableXrunCheck",
        "get_platform_property",
        "hdo_close",
        "hdo_create",
        "hdo_create_hwsync_source",
        "hdo_deinit",
        "hdo_destroy",
        "hdo_destroy_hwsync_source",
        "hdo_drain",
        "hdo_flush",
        "hdo_get_buffer_size",
        "hdo_get_latency",
        "hdo_get_tstamp",
        "hdo_init",
        "hdo_open",
        "hdo_pause",
        "hdo_resume",
        "hdo_write",
        "hpi_close",
        "hpi_create",
        "hpi_destroy",
        "hpi_open",
        "hpi_read",
        "hpo_close",
        "hpo_create",
        "hpo_destroy",
        "hpo_get_buffer_size",
        "hpo_get_latency",
        "hpo_get_tstamp",
        "hpo_open",
        "hpo_write",
        "pcm_config_ai_low_latency",
    };
    EXPECT_EQ(exported, expected);
}
