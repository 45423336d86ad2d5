#include <gtest/gtest.h>
#include <thread>

#include <android/log.h>

#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

namespace {

TEST(LogLines, ShowsWhatWasAskedForAndKeepsProblemsOnceWithTheirCount) {
    testing::internal::CaptureStderr();
    const auto log_often = [] {
        for (int i = 0; i < 500; ++i) {
            __android_log_print(ANDROID_LOG_ERROR, "tag", "first\nline\n");
        }
    };
    std::vector<log_line> problems;
    {
        const log_lines log(1);
        std::thread other(log_often);
        log_often();
        other.join();
        __android_log_print(ANDROID_LOG_WARN, "tag", "second");
        __android_log_print(ANDROID_LOG_VERBOSE, "tag", "too much");
        __android_log_print(ANDROID_LOG_DEBUG, "tag", "asked for");
        __android_log_print(ANDROID_LOG_INFO, "tag", "shown");
        problems = log.problems();
    }
    __android_log_print(ANDROID_LOG_ERROR, "tag", "late");
    const std::string shown = testing::internal::GetCapturedStderr();
    const std::string end = "W tag: second\nD tag: asked for\nI tag: shown\n";
    EXPECT_EQ(shown.substr(shown.find("W tag")), end);
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(to_text(problems[0]), "E tag: first line (1000 times)");
    EXPECT_EQ(to_text(problems[1]), "W tag: second");
}

TEST(Progress, TimesCarryIntoMinutesAndNeverRoundUp) {
    EXPECT_EQ(clock_text(47999, 48000), "0:00.999");
    EXPECT_EQ(clock_text(3660 * 48000 + 24000, 48000), "61:00.500");
    EXPECT_EQ(progress_text(47999, 480000, 48000, 20), "0:00.9 / 0:10.0  latency 20 ms");
}

}  // namespace
