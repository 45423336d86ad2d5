// The head of a WAV file of PCM samples, up to the first sample.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace tinyalsa {

struct wav_layout {
    unsigned channels;
    unsigned rate_hz;
    unsigned sample_bytes;

    unsigned frame_bytes() const { return channels * sample_bytes; }
    bool operator==(const wav_layout& other) const {
        return channels == other.channels && rate_hz == other.rate_hz &&
               sample_bytes == other.sample_bytes;
    }
};

struct wav_header {
    uint8_t bytes[68];
    size_t size;  // of bytes: the plain form is shorter
};

// False when a field of the header is too narrow for the layout.
bool fits_wav(const wav_layout& layout);

// The header of a file with that many bytes of samples, at most max_wav_data_bytes(). Its size
// depends on the layout only.
wav_header make_wav_header(const wav_layout& layout, uint32_t data_bytes);

// The most whole frames that a file can hold, in bytes: its sizes are 32-bit.
uint32_t max_wav_data_bytes(const wav_layout& layout);

}  // namespace tinyalsa
