// The header in front of every frame of a hardware-synchronised stream, as the audio server's
// clients write it: magic, frame size, presentation time and, from version 2 on, where the payload
// begins. All fields are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Bytes from a header's first byte to the payload's, for the shortest header of each version.
constexpr uint32_t avsync_v1_bytes = 16;
constexpr uint32_t avsync_v2_bytes = 20;

struct avsync_framing {
    unsigned version;      // 1 or 2
    uint32_t data_offset;  // version 1: avsync_v1_bytes; version 2: avsync_v2_bytes or more
};

// The offset that a stream of so many channels is written with: in version 2, 48 bytes for 6 and 8
// channels, a whole number of 16-bit frames of either.
avsync_framing customary_framing(unsigned version, unsigned channels);

// Appends header and padding, zero-filled, for a payload of `payload_bytes` that is to be heard at
// `pts_ns`. The payload follows.
void append_avsync_header(std::vector<uint8_t>& out, const avsync_framing& framing,
                          uint32_t payload_bytes, uint64_t pts_ns);
