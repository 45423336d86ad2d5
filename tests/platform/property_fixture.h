// A property file of the test's own, and the log lines.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <cutils/properties.h>
#include <cutils/property_overrides.h>

#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

class PropertyFixture : public testing::Test {
  protected:
    void SetUp() override { setenv("CORVEX_PROPERTY_FILE", path_.c_str(), 1); }
    void TearDown() override { property_clear_overrides(); }

    static std::string get(const std::string& key, const char* default_value = nullptr) {
        char value[PROPERTY_VALUE_MAX];
        const int length = property_get(key.c_str(), value, default_value);
        EXPECT_EQ(static_cast<size_t>(length), strlen(value));
        return value;
    }

    void write(const std::string& text) const { std::ofstream(path_, std::ios::binary) << text; }

    std::string content() const {
        std::ifstream file(path_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    // Runs `action` in another process; its result is the exit status.
    template <typename Action>
    static pid_t start_process(Action action) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(action());
        }
        return child;
    }
    static int exit_status(pid_t child) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    log_recorder log_;
    scratch_dir scratch_;
    const std::string path_ = scratch_.file("properties");
};
