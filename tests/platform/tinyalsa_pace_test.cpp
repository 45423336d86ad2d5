// The imaginary card behind a paced WAV file, with the time in the test's hand.

#include <gtest/gtest.h>

#include "wav_pace.h"

namespace {

using tinyalsa::wav_pace;

constexpr uint64_t kSecond = 1000000000;
constexpr uint64_t kStart = 1000 * kSecond;

TEST(TinyalsaPace, PlaysFromTheFirstFrameOnAndStandsStillWhileDry) {
    wav_pace pace(1000, 100);
    for (const uint64_t start : {kStart, kStart + 500 * kSecond}) {
        EXPECT_EQ(pace.free_frames(start), 100u);
        pace.add(60, start);
        EXPECT_EQ(pace.free_frames(start + 999999), 40u);
        EXPECT_EQ(pace.free_frames(start + 1000000), 41u);
        pace.add(41, start + 1000000);
        EXPECT_EQ(pace.free_frames(start + 51000000), 50u);
    }
    pace.drop();
    EXPECT_EQ(pace.free_frames(kStart + 500 * kSecond), 100u);
}

TEST(TinyalsaPace, TheTimeOfRoomIsTheFirstMomentWithRoom) {
    for (const uint32_t rate : {1u, 44100u, 48000u, 2147483647u}) {
        for (const uint32_t frames : {1u, 7u, 100u}) {
            wav_pace pace(rate, 100);
            pace.add(100, kStart);
            const uint64_t time = pace.time_of_room_ns(frames, kStart);
            EXPECT_GE(pace.free_frames(time), frames) << rate;
            EXPECT_LT(pace.free_frames(time - 1), frames) << rate;
        }
    }
}

}  // namespace
