// AC-3 and E-AC-3 for tests, by libavcodec itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Encodes a tone at 48000 Hz to so many packets, each one frame of 1536 samples; `codec` is "ac3"
// or "eac3", `channels` 2 or 6. Written one behind the other they are a file.
std::vector<std::string> encode(const std::string& codec, int channels, int packets);

// Such packets as 16-bit samples: libavcodec's floating-point decoder, then libswresample's
// conversion without dither, in the codec's own channel order.
std::vector<int16_t> decode(const std::string& codec, const std::vector<std::string>& packets);

// Puts such packets into a container of the kind that the path's extension names. The first begins
// `lead_samples` before the file's own zero, as encoders with a delay have it.
void mux(const std::string& path, const std::string& codec, int channels,
         const std::vector<std::string>& packets, int lead_samples);
