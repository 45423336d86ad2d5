#include "tools/direct/avsync_header.h"

#include <iterator>

namespace {

constexpr uint8_t magic[] = {0x55, 0x55, 0x00};
constexpr uint32_t wide_offset_bytes = 48;

template <typename Number>
void append_big_endian(std::vector<uint8_t>& out, Number value) {
    for (size_t byte = sizeof(Number); byte-- > 0;) {
        out.push_back(static_cast<uint8_t>(value >> (8 * byte)));
    }
}

}  // namespace

avsync_framing customary_framing(unsigned version, unsigned channels) {
    if (version == 1) {
        return {1, avsync_v1_bytes};
    }
    return {version, channels == 6 || channels == 8 ? wide_offset_bytes : avsync_v2_bytes};
}

void append_avsync_header(std::vector<uint8_t>& out, const avsync_framing& framing,
                          uint32_t payload_bytes, uint64_t pts_ns) {
    const size_t payload_at = out.size() + framing.data_offset;
    out.insert(out.end(), std::begin(magic), std::end(magic));
    out.push_back(static_cast<uint8_t>(framing.version));
    append_big_endian(out, payload_bytes);
    append_big_endian(out, pts_ns);
    if (framing.version != 1) {
        append_big_endian(out, framing.data_offset);
    }
    out.resize(payload_at, 0);
}
