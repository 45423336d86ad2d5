// A sound that is found again in a recording of it: a short sweep over the range that speakers and
// microphones share, which has one sharp match and no other.
#pragma once

#include <cstddef>
#include <vector>

// Samples of -1 to 1, at 48000 Hz.
std::vector<float> make_loop_probe();

struct probe_match {
    size_t frame;       // where the probe begins
    float correlation;  // 0 to 1: how alike it is, whatever its level and polarity
};

// The best match; a correlation of 0 for a recording that is too short or silent.
probe_match find_loop_probe(const std::vector<float>& recorded, const std::vector<float>& probe);
