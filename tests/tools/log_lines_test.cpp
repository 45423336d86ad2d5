#include <gtest/gtest.h>
#include <thread>

#include <android/log.h>

#include "tools/log_lines.h"
#include "tools/progress.h"

namespace {

TEST(LogLines, KeepsWarningsAndErrorsOnceWithTheirCount) {
    const log_lines log(0);
    __android_log_print(ANDROID_LOG_DEBUG, "tag", "nobody asked");
    __android_log_print(ANDROID_LOG_ERROR, "tag", "first\nline\n");
    __android_log_print(ANDROID_LOG_WARN, "tag", "second");
    __android_log_print(ANDROID_LOG_ERROR, "tag", "first\nline\n");
    const auto problems = log.problems();
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(to_text(problems[0]), "E tag: first line (2 times)");
    EXPECT_EQ(to_text(problems[1]), "W tag: second");
}

TEST(LogLines, ForgetsOnRequestAndStaysBounded) {
    log_lines log(0);
    for (int i = 0; i < 1000; ++i) {
        __android_log_print(ANDROID_LOG_ERROR, "tag", "line %d", i);
    }
    EXPECT_LE(log.problems().size(), 100U);
    EXPECT_EQ(log.problems().front().text, "line 0");
    log.forget();
    EXPECT_TRUE(log.problems().empty());
}

TEST(LogLines, TakesLinesFromAnyThread) {
    const log_lines log(0);
    std::thread other([] {
        for (int i = 0; i < 500; ++i) {
            __android_log_print(ANDROID_LOG_ERROR, "other", "line");
        }
    });
    for (int i = 0; i < 500; ++i) {
        __android_log_print(ANDROID_LOG_ERROR, "this", "line");
        log.problems();
    }
    other.join();
    const auto problems = log.problems();
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(problems[0].count + problems[1].count, 1000U);
}

TEST(LogLines, ShowsWhatWasAskedForAndNothingAfterItsEnd) {
    testing::internal::CaptureStderr();
    {
        const log_lines log(1);
        __android_log_print(ANDROID_LOG_VERBOSE, "tag", "too much");
        __android_log_print(ANDROID_LOG_DEBUG, nullptr, "without a tag");
        __android_log_print(ANDROID_LOG_INFO, "tag", "shown");
    }
    __android_log_print(ANDROID_LOG_ERROR, "tag", "late");
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_NE(shown.find(": without a tag\nI tag: shown\n"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("too much"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("late"), std::string::npos) << shown;
}

TEST(Progress, TimesCarryIntoMinutesAndNeverRoundUp) {
    EXPECT_EQ(clock_text(0, 48000), "0:00.000");
    EXPECT_EQ(clock_text(47999, 48000), "0:00.999");
    EXPECT_EQ(clock_text(60 * 48000 + 24000, 48000), "1:00.500");
    EXPECT_EQ(clock_text(uint64_t{3600} * 48000, 48000), "60:00.000");
    EXPECT_EQ(progress_text(47999, 480000, 48000, 20), "0:00.9 / 0:10.0  latency 20 ms");
}

}  // namespace
