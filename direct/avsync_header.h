// The header in front of every frame of a hardware-synchronised stream, and the search for it.
//
// Wire format, most significant byte first:
//
//      0  4  55 55 00 and the version, 1 or 2
//      4  4  frame size: payload bytes behind the header
//      8  8  presentation time in nanoseconds
//     16  4  version 2 only: data offset, from the header's first byte to the payload's
//
// A version-1 payload begins at byte 16. Nothing here keeps state or allocates; any thread.
#pragma once

#include <stdint.h>

constexpr uint32_t avsync_header_v1_bytes = 16;
constexpr uint32_t avsync_header_v2_bytes = 20;

extern "C" {

// Finds the first header of the version that byte 3 of the input names; a header of another version
// has `expected_offset` bytes. Bytes ahead of the header are skipped.
//
// 0: all three outputs are written, the presentation time in milliseconds, the data offset counted
// from the start of the input. -EINVAL: an input of at most expected_offset bytes, or a null
// pointer. -1: no header, or a payload that begins beyond the input; the data offset is not
// written, the other two may be. Never reads outside the input.
int32_t utils_findheader(const uint8_t* buffer, uint32_t size, uint32_t expected_offset,
                         uint32_t* frame_size_out, uint64_t* pts_out, uint32_t* data_offset_out);

// The frame size at byte 4 of a header: 4 bytes are read.
uint32_t utils_get_framesize(const uint8_t* p);

// The presentation time at byte 8 of a header, in milliseconds: 8 bytes are read.
uint64_t utils_get_framepts(const uint8_t* p);

// 0 when a header of the version begins at p, else -1: 4 bytes are read.
int32_t utils_check_valid_header(uint32_t version, const uint8_t* p);

}  // extern "C"

// How many of the `size` bytes at `p` belong to a version-2 header that is not complete yet and is
// still worth waiting for: all of them or none. A header that announces a payload more than
// `longest_offset` bytes away is not.
uint32_t incomplete_header_bytes(const uint8_t* p, uint32_t size, uint32_t longest_offset);
