#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "diag/debug_switches.h"
#include "direct/avsync_header.h"
#include "tests/support/direct_fixture.h"

namespace {

constexpr uint32_t poison = 0xDEADBEEF;
constexpr uint64_t poison_pts = 0xDEADBEEFDEADBEEF;

struct found {
    int32_t result;
    uint32_t frame_size;
    uint64_t pts;
    uint32_t data_offset;
    bool operator==(const found& other) const {
        return result == other.result && frame_size == other.frame_size && pts == other.pts &&
               data_offset == other.data_offset;
    }
};

std::ostream& operator<<(std::ostream& stream, const found& answer) {
    return stream << answer.result << " size " << answer.frame_size << " pts " << answer.pts
                  << " offset " << answer.data_offset;
}

// In an allocation of exactly its size, so that a sanitizer sees a byte too far.
found find(const std::string& input, uint32_t expected_offset) {
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[input.size()]);
    std::memcpy(exact.get(), input.data(), input.size());
    found answer = {99, poison, poison_pts, poison};
    answer.result =
        utils_findheader(exact.get(), static_cast<uint32_t>(input.size()), expected_offset,
                         &answer.frame_size, &answer.pts, &answer.data_offset);
    return answer;
}

class AvsyncHeader : public direct_test {};

constexpr found too_short = {-EINVAL, poison, poison_pts, poison};
constexpr found nothing = {-1, poison, poison_pts, poison};

}  // namespace

TEST_F(AvsyncHeader, IsFoundWithItsFields) {
    const std::string v1 = avsync_header(1, 100, 1'000'000'000);
    const std::string v2 = avsync_header(2, 0xFFFFFFFF, 999'999);
    const std::string body(1000, 'x');
    const struct {
        const char* name;
        std::string input;
        uint32_t expected_offset;
        found answer;
    } rows[] = {
        {"whole input is expected_offset long", v1, 16, too_short},
        {"one byte more", v1 + "x", 16, {0, 100, 1000, 16}},
        {"surround: 48 bytes", v1 + std::string(32, 'x'), 48, too_short},
        {"surround: 49 bytes", v1 + std::string(33, 'x'), 48, {0, 100, 1000, 16}},
        {"ends with the input", "abc\x01!" + v1 + "", 20, {0, 100, 1000, 21}},
        {"first of two", v1 + body + v1, 16, {0, 100, 1000, 16}},
        {"a look-alike of another version ahead", v1 + v2, 16, {0, 100, 1000, 16}},
        {"only the other version", "abc\x01!" + v2, 16, nothing},
        {"version 2", v2 + body, 16, {0, 0xFFFFFFFF, 0, 20}},
        {"version 2, surround", v2 + body, 48, {0, 0xFFFFFFFF, 0, 20}},
        {"version 2, padded", avsync_header(2, 1, 5'000'000, 48) + body, 16, {0, 1, 5, 48}},
        {"version 2, nothing behind it", v2, 16, {0, 0xFFFFFFFF, 0, 20}},
        {"version 2, 19 bytes", v2.substr(0, 19), 16, nothing},
        {"version 2, payload one byte beyond",
         avsync_header(2, 1, 5'000'000, 48).substr(0, 47),
         16,
         {-1, 1, 5, poison}},
        {"version 2, offset near the top",
         avsync_header(2, 7, 5'000'000, 20).substr(0, 16) + "\xFF\xFF\xFF\xFF" + body,
         16,
         {-1, 7, 5, poison}},
        {"version 2, offset near the top behind garbage",
         "abc\x02" + avsync_header(2, 7, 5'000'000, 20).substr(0, 16) + "\xFF\xFF\xFF\xFF" + body,
         16,
         {-1, 7, 5, poison}},
        {"version 2, behind garbage", "abc\x02!" + v2 + body, 16, {0, 0xFFFFFFFF, 0, 25}},
        {"version 3 has expected_offset bytes",
         avsync_header(3, 9, 7'000'000) + body,
         48,
         {0, 9, 7, 48}},
        {"version 3, nowhere", "abc\x03" + body, 16, nothing},
        {"largest time", avsync_header(1, 1, UINT64_MAX) + "x", 16, {0, 1, 18446744073709, 16}},
        {"empty", "", 16, too_short},
        {"less than a magic, no minimum", std::string("\x55\x55", 2), 0, nothing},
        {"another version, no minimum", avsync_header(3, 9, 0).substr(0, 12), 0, nothing},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(find(row.input, row.expected_offset), row.answer) << row.name;
    }
}

TEST_F(AvsyncHeader, IsFoundBehindAnyNumberOfBytesThatNearlyMatch) {
    const std::string header = avsync_header(1, 100, 0);
    std::string ahead = {0x55, 0x55, 0x01, 0x01};
    for (uint32_t at = 4; at < 70; ++at) {
        EXPECT_EQ(find(ahead + header, 16), (found{0, 100, 0, at + 16}));
        EXPECT_EQ(find(ahead + header.substr(0, 15), 16), nothing) << at;
        ahead += "U\0UU"[at % 4];
    }
}

TEST_F(AvsyncHeader, RefusesNullPointers) {
    uint32_t word = 0;
    uint64_t pts = 0;
    const uint8_t byte = 0;
    EXPECT_EQ(utils_findheader(nullptr, 1, 0, &word, &pts, &word), -EINVAL);
    EXPECT_EQ(utils_findheader(nullptr, 0, 16, &word, &pts, &word), -EINVAL);
    EXPECT_EQ(utils_findheader(&byte, 1, 0, nullptr, &pts, &word), -EINVAL);
    EXPECT_EQ(utils_findheader(&byte, 1, 0, &word, nullptr, &word), -EINVAL);
    EXPECT_EQ(utils_findheader(&byte, 1, 0, &word, &pts, nullptr), -EINVAL);
    EXPECT_EQ(utils_check_valid_header(1, nullptr), -1);
}

TEST_F(AvsyncHeader, IsCheckedWithItsVersion) {
    const uint8_t good[] = {0x55, 0x55, 0x00, 2};
    EXPECT_EQ(utils_check_valid_header(2, good), 0);
    EXPECT_EQ(utils_check_valid_header(1, good), -1);
    for (size_t i = 0; i < 4; ++i) {
        uint8_t bad[4];
        std::memcpy(bad, good, sizeof(bad));
        bad[i] ^= 1;
        EXPECT_EQ(utils_check_valid_header(2, bad), -1) << i;
    }
}

TEST_F(AvsyncHeader, ShowsEachStepWhilePtsLoggingIsOn) {
    gbEnablePts = 1;
    const auto lines_of = [this](const std::string& input) {
        log.clear();
        find(input, 16);
        return logged(ANDROID_LOG_DEBUG, "audio_hal_utils");
    };
    const std::string whole =
        "utils_findheader: FrameSize:16909060 FramePts:1152921504618  DataOffsetSize:20";
    EXPECT_EQ(lines_of(avsync_header(2, 0x01020304, 0x1000000000ABCDEF)),
              (lines{"utils_findheader: inBufSize:20  0x55  0x55  0x0  0x2 ",
                     "utils_check_valid_version: Version:0x2 HeaderLen:20",
                     "utils_get_framesize: FrameSize u8Val 1  0x2 0x3 0x4",
                     "utils_get_framepts: FramePts u8Val 0x10 0x0 0x0 0x0 0x0 0xab 0xcd 0xef",
                     "utils_get_data_offsetsize: OffsetSize u8Val 0x0 0x0 0x0 0x14", whole}));
    EXPECT_EQ(lines_of("\x55\x56"),
              (lines{"utils_findheader: inBufSize:2  0x55  0x56  0x0  0x0 "}));
    EXPECT_EQ(lines_of(""), (lines{"utils_findheader: inBufSize:0  0x0  0x0  0x0  0x0 "}));
    gbEnablePts = 0;
    EXPECT_EQ(lines_of(avsync_header(2, 1, 1)), lines{});
    lines_of(std::string(20, '\x07'));
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_utils"),
              (lines{"utils_check_valid_version: Not support version(0x7)"}));
}
