// The imaginary card behind a paced WAV file, with the time in the test's hand.

#include <gtest/gtest.h>

#include "wav_header.h"
#include "wav_pace.h"

namespace {

using tinyalsa::wav_pace;

constexpr uint64_t kSecond = 1000000000;
constexpr uint64_t kStart = 1000 * kSecond;

TEST(TinyalsaPace, PlaysFromTheFirstFrameOn) {
    wav_pace pace(1000, 100);
    EXPECT_EQ(pace.free_frames(kStart), 100u);
    pace.add(60, kStart);
    EXPECT_EQ(pace.free_frames(kStart), 40u);
    EXPECT_EQ(pace.free_frames(kStart + 999999), 40u);
    EXPECT_EQ(pace.free_frames(kStart + 1000000), 41u);
    pace.add(41, kStart + 1000000);
    EXPECT_EQ(pace.free_frames(kStart + 1000000), 0u);
    EXPECT_EQ(pace.free_frames(kStart + 51000000), 50u);
}

TEST(TinyalsaPace, StandsStillWhileDryAndNeverFreesMoreThanTheBuffer) {
    wav_pace pace(1000, 100);
    pace.add(60, kStart);
    EXPECT_EQ(pace.free_frames(kStart + 500 * kSecond), 100u);
    pace.add(30, kStart + 500 * kSecond);
    EXPECT_EQ(pace.free_frames(kStart + 500 * kSecond), 70u);
    EXPECT_EQ(pace.free_frames(kStart + 500 * kSecond + 10000000), 80u);
    pace.drop();
    EXPECT_EQ(pace.free_frames(kStart + 500 * kSecond + 10000000), 100u);
}

TEST(TinyalsaPace, TheTimeOfRoomIsTheFirstMomentWithRoom) {
    for (const uint32_t rate : {1u, 8000u, 44100u, 48000u, 192000u, 2147483647u}) {
        for (const uint32_t frames : {1u, 7u, 99u, 100u}) {
            SCOPED_TRACE(testing::Message() << rate << " Hz, " << frames << " frames");
            wav_pace pace(rate, 100);
            pace.add(100, kStart);
            const uint64_t time = pace.time_of_room_ns(frames, kStart);
            EXPECT_GE(pace.free_frames(time), frames);
            EXPECT_LT(pace.free_frames(time - 1), frames);
        }
    }
    wav_pace pace(48000, 100);
    pace.add(40, kStart);
    EXPECT_EQ(pace.time_of_room_ns(60, kStart), kStart);
}

TEST(TinyalsaPace, KeepsCountOverAYearOfPlaying) {
    constexpr uint32_t kHourFrames = 192000u * 3600;
    wav_pace pace(192000, kHourFrames);
    uint64_t now = kStart;
    pace.add(kHourFrames, now);
    for (int hours = 0; hours < 365 * 24; ++hours) {
        now += 1800 * kSecond;
        pace.add(kHourFrames / 2, now);
        now += 1800 * kSecond;
        pace.add(kHourFrames / 2, now);
    }
    EXPECT_EQ(pace.free_frames(now), 0u);
    EXPECT_EQ(pace.free_frames(now + kSecond / 4), 48000u);
}

TEST(TinyalsaWavHeader, NoFieldOverflowsAtTheLargestFile) {
    for (const tinyalsa::wav_layout layout :
         {tinyalsa::wav_layout{1, 48000, 2}, {2, 48000, 2}, {1, 48000, 3}, {6, 48000, 4}}) {
        const uint32_t most = tinyalsa::max_wav_data_bytes(layout);
        EXPECT_EQ(most % layout.frame_bytes(), 0u);
        EXPECT_GT(most, UINT32_MAX - 100);
        const tinyalsa::wav_header header = tinyalsa::make_wav_header(layout, most);
        uint64_t riff_bytes = 0;
        for (int i = 3; i >= 0; --i) {
            riff_bytes = riff_bytes << 8 | header.bytes[4 + i];
        }
        EXPECT_EQ(riff_bytes, header.size - 8 + uint64_t{most} + most % 2);
    }
    EXPECT_FALSE(tinyalsa::fits_wav({0, 48000, 2}));
    EXPECT_FALSE(tinyalsa::fits_wav({32768, 1, 2}));
    EXPECT_FALSE(tinyalsa::fits_wav({1000, 2147483647, 4}));
    EXPECT_TRUE(tinyalsa::fits_wav({32767, 1, 2}));
}

}  // namespace
