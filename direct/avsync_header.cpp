#include "direct/avsync_header.h"

#include <algorithm>
#include <errno.h>
#include <string.h>

#include "diag/debug_switches.h"
#include "diag/log.h"

namespace {

constexpr const char* log_tag = "audio_hal_utils";

constexpr uint32_t magic_bytes = 4;  // with the version
constexpr uint32_t version_at = 3;
constexpr uint32_t frame_size_at = 4;
constexpr uint32_t pts_at = 8;
constexpr uint32_t data_offset_at = 16;

constexpr uint64_t ns_per_ms = 1'000'000;

uint32_t big_endian_32(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

bool is_header(uint32_t version, const uint8_t* p) {
    return p[0] == 0x55 && p[1] == 0x55 && p[2] == 0x00 && p[version_at] == version;
}

// Whether a header of the version begins at one of the eight bytes from p on: 11 bytes are read.
// Takes the same time whatever the bytes are.
bool has_header_in_eight(uint32_t version, const uint8_t* p) {
    constexpr uint64_t each_byte = 0x0101010101010101;
    uint64_t words[magic_bytes];
    for (uint32_t i = 0; i < magic_bytes; ++i) {
        memcpy(&words[i], p + i, sizeof(words[i]));
    }
    // A byte of this is zero where a header begins.
    const uint64_t wrong = (words[0] ^ 0x55 * each_byte) | (words[1] ^ 0x55 * each_byte) |
                           words[2] | (words[version_at] ^ version * each_byte);
    return ((wrong - each_byte) & ~wrong & 0x80 * each_byte) != 0;
}

// Where the first header of the version begins, at `last` at most, with 11 readable bytes from
// there on. False when there is none.
bool search(const uint8_t* buffer, uint32_t last, uint32_t version, uint32_t* found) {
    constexpr uint32_t step = 8;
    uint64_t start = 0;
    while (start <= last && !has_header_in_eight(version, buffer + start)) {
        start += step;
    }
    for (uint64_t at = start; at <= last && at < start + step; ++at) {
        if (is_header(version, buffer + at)) {
            *found = static_cast<uint32_t>(at);
            return true;
        }
    }
    return false;
}

// The length of a header of the version.
uint32_t check_valid_version(uint8_t version, uint32_t expected_offset) {
    uint32_t length = 0;
    switch (version) {
        case 1:
            length = avsync_header_v1_bytes;
            break;
        case 2:
            length = avsync_header_v2_bytes;
            break;
        default:
            HAL_LOGE("%s: Not support version(0x%x)", "utils_check_valid_version", version);
            // Never less than the fields that are read.
            length = std::max(expected_offset, avsync_header_v1_bytes);
            break;
    }
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: Version:0x%x HeaderLen:%d", "utils_check_valid_version", version,
                 static_cast<int>(length));
    }
    return length;
}

uint32_t get_data_offsetsize(const uint8_t* p) {
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: OffsetSize u8Val 0x%x 0x%x 0x%x 0x%x", "utils_get_data_offsetsize", p[0],
                 p[1], p[2], p[3]);
    }
    return big_endian_32(p);
}

void log_input(const uint8_t* buffer, uint32_t size) {
    uint8_t start[magic_bytes] = {};
    std::copy_n(buffer, std::min(size, magic_bytes), start);
    HAL_LOGD("%s: inBufSize:%d  0x%x  0x%x  0x%x  0x%x ", "utils_findheader",
             static_cast<int>(size), start[0], start[1], start[2], start[3]);
}

}  // namespace

uint32_t utils_get_framesize(const uint8_t* p) {
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: FrameSize u8Val %x  0x%x 0x%x 0x%x", __func__, p[0], p[1], p[2], p[3]);
    }
    return big_endian_32(p);
}

uint64_t utils_get_framepts(const uint8_t* p) {
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: FramePts u8Val 0x%x 0x%x 0x%x 0x%x 0x%x 0x%x 0x%x 0x%x", __func__, p[0], p[1],
                 p[2], p[3], p[4], p[5], p[6], p[7]);
    }
    return (uint64_t{big_endian_32(p)} << 32 | big_endian_32(p + 4)) / ns_per_ms;
}

int32_t utils_check_valid_header(uint32_t version, const uint8_t* p) {
    return p != nullptr && is_header(version, p) ? 0 : -1;
}

int32_t utils_findheader(const uint8_t* buffer, uint32_t size, uint32_t expected_offset,
                         uint32_t* frame_size_out, uint64_t* pts_out, uint32_t* data_offset_out) {
    if ((buffer == nullptr && size > 0) || frame_size_out == nullptr || pts_out == nullptr ||
        data_offset_out == nullptr) {
        return -EINVAL;
    }
    const bool logs = is_switch_on(gbEnablePts);
    if (logs) {
        log_input(buffer, size);
    }
    if (expected_offset >= size) {
        return -EINVAL;
    }
    if (size < magic_bytes) {
        return -1;
    }
    const uint8_t version = buffer[version_at];
    const uint32_t header_bytes = check_valid_version(version, expected_offset);
    if (header_bytes > size) {
        return -1;
    }
    uint32_t at = 0;
    if (!search(buffer, size - header_bytes, version, &at)) {
        return -1;
    }
    *frame_size_out = utils_get_framesize(buffer + at + frame_size_at);
    *pts_out = utils_get_framepts(buffer + at + pts_at);
    uint32_t payload_at = at + header_bytes;
    if (version == 2) {
        const uint32_t data_offset = get_data_offsetsize(buffer + at + data_offset_at);
        if (data_offset > size - at) {
            return -1;
        }
        payload_at = at + data_offset;
    }
    *data_offset_out = payload_at;
    if (logs) {
        HAL_LOGD("%s: FrameSize:%d FramePts:%lld  DataOffsetSize:%d", __func__,
                 static_cast<int>(*frame_size_out), static_cast<long long>(*pts_out),
                 static_cast<int>(payload_at));
    }
    return 0;
}

uint32_t incomplete_header_bytes(const uint8_t* p, uint32_t size, uint32_t longest_offset) {
    if (size < magic_bytes || !is_header(2, p)) {
        return 0;
    }
    if (size < avsync_header_v2_bytes) {
        return size;
    }
    const uint32_t data_offset = big_endian_32(p + data_offset_at);
    return size < data_offset && data_offset <= longest_offset ? size : 0;
}
