// AC-3 and E-AC-3 in packets and in containers.
#pragma once

#include <string>
#include <vector>

#include "tests/support/encoded_stream.h"

// So many packets, each one frame of 1536 samples at 48000 Hz; `channels` is 2 or 6. Written one
// behind the other they are a file.
std::vector<std::string> packets_of(codec which, unsigned channels, size_t packets);

// Puts such packets into a container of the kind that the path's extension names. The first begins
// `lead_samples` before the file's own zero, as encoders with a delay have it.
void mux(const std::string& path, codec which, int channels,
         const std::vector<std::string>& packets, int lead_samples);
