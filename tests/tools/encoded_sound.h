// AC-3 and E-AC-3 for tests, by libavcodec's own encoders.
#pragma once

#include <string>
#include <vector>

// Encodes a tone at 48000 Hz to so many packets, each one frame of 1536 samples; `codec` is "ac3"
// or "eac3", `channels` 2 or 6. Written one behind the other they are a file.
std::vector<std::string> encode(const std::string& codec, int channels, int packets);
