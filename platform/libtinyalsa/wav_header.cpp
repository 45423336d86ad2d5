#include "wav_header.h"

#include <cstring>

namespace tinyalsa {

namespace {

constexpr uint16_t kFormatPcm = 1;
constexpr uint16_t kFormatExtensible = 0xFFFE;
// The subformat of PCM samples, behind its first two bytes, which are kFormatPcm.
constexpr uint8_t kPcmGuidTail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                      0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr uint16_t kExtensionBytes = 22;
constexpr uint32_t kChunkHeadBytes = 8;

// Appends little-endian fields, whatever the machine's own order.
class field_writer {
  public:
    explicit field_writer(wav_header& header) : header_(header) { header_.size = 0; }

    void tag(const char* text) { copy(text, 4); }
    void u16(uint32_t value) { number(value, 2); }
    void u32(uint32_t value) { number(value, 4); }
    void copy(const void* bytes, size_t count) {
        std::memcpy(header_.bytes + header_.size, bytes, count);
        header_.size += count;
    }

  private:
    void number(uint32_t value, int count) {
        for (int i = 0; i < count; ++i) {
            header_.bytes[header_.size++] = static_cast<uint8_t>(value >> (8 * i));
        }
    }

    wav_header& header_;
};

// Readers take the plain form for more than two channels or 16 bits too, but the format wants the
// extensible one there.
bool is_plain(const wav_layout& layout) {
    return layout.channels <= 2 && layout.sample_bytes <= 2;
}

uint32_t format_bytes(const wav_layout& layout) {
    return is_plain(layout) ? 16 : 16 + 2 + kExtensionBytes;
}

// All of the file but the samples and the first chunk's own head.
uint32_t overhead_bytes(const wav_layout& layout) {
    return 4 + kChunkHeadBytes + format_bytes(layout) + kChunkHeadBytes;
}

}  // namespace

bool fits_wav(const wav_layout& layout) {
    const uint64_t frame_bytes = uint64_t{layout.channels} * layout.sample_bytes;
    return frame_bytes > 0 && frame_bytes <= UINT16_MAX &&
           frame_bytes * layout.rate_hz <= UINT32_MAX;
}

wav_header make_wav_header(const wav_layout& layout, uint32_t data_bytes) {
    const uint32_t bits = layout.sample_bytes * 8;
    wav_header header = {};
    field_writer out(header);
    out.tag("RIFF");
    out.u32(overhead_bytes(layout) + data_bytes + data_bytes % 2);  // An odd chunk is padded.
    out.tag("WAVE");
    out.tag("fmt ");
    out.u32(format_bytes(layout));
    out.u16(is_plain(layout) ? kFormatPcm : kFormatExtensible);
    out.u16(layout.channels);
    out.u32(layout.rate_hz);
    out.u32(layout.rate_hz * layout.frame_bytes());
    out.u16(layout.frame_bytes());
    out.u16(bits);
    if (!is_plain(layout)) {
        out.u16(kExtensionBytes);
        out.u16(bits);  // All of them are valid.
        out.u32(0);     // No speaker is named for any channel.
        out.u16(kFormatPcm);
        out.copy(kPcmGuidTail, sizeof kPcmGuidTail);
    }
    out.tag("data");
    out.u32(data_bytes);
    return header;
}

uint32_t max_wav_data_bytes(const wav_layout& layout) {
    const uint32_t room = UINT32_MAX - overhead_bytes(layout) - 1;  // One byte for the padding.
    return room - room % layout.frame_bytes();
}

}  // namespace tinyalsa
