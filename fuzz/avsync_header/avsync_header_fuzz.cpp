// What a tunnel stream may hold where a header is expected. The first byte is the expected data
// offset, the rest is the input.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <android/log.h>

#include "diag/debug_switches.h"
#include "direct/avsync_header.h"

namespace {

constexpr uint32_t untouched = 0xA5A5A5A5;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// Whether a header of the version that byte 3 names begins at `at`.
bool begins_header(const uint8_t* input, uint32_t at) {
    return utils_check_valid_header(input[3], input + at) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0 || size > (1U << 20)) {
        return 0;
    }
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    gbEnablePts = 1;  // what the log lines show of the input is read all the same
    const uint32_t expected_offset = bytes[0];
    const auto input_size = static_cast<uint32_t>(size - 1);
    // Exactly as large as it says, so that a read beyond it is seen.
    const std::unique_ptr<uint8_t[]> input(new uint8_t[input_size]);
    std::memcpy(input.get(), bytes + 1, input_size);

    uint32_t frame_size = untouched;
    uint64_t pts_ms = untouched;
    uint32_t data_offset = untouched;
    const int32_t result = utils_findheader(input.get(), input_size, expected_offset, &frame_size,
                                            &pts_ms, &data_offset);
    require((result == -22) == (input_size <= expected_offset));
    if (result != 0) {
        require(data_offset == untouched);
    } else {
        require(data_offset <= input_size);
        require(pts_ms <= UINT64_MAX / 1'000'000);
        // The header that was found is the first one, and whole.
        uint32_t first = 0;
        while (!begins_header(input.get(), first)) {
            ++first;
            require(first + avsync_header_v1_bytes <= input_size);
        }
        require(frame_size == utils_get_framesize(input.get() + first + 4));
        require(pts_ms == utils_get_framepts(input.get() + first + 8));
    }
    const uint32_t incomplete = incomplete_header_bytes(input.get(), input_size, 48);
    require(incomplete == 0 || (incomplete == input_size && incomplete < 48));
    return 0;
}
