// Samples of one kind as samples of another.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

// A sample whose full scale is 1.0, which has no 16-bit value itself and becomes the top one:
// rounded to nearest (halves to even) and clamped, without dither. NaN becomes silence.
inline int16_t to_int16(float sample) {
    return std::isnan(sample) ? int16_t{0}
                              : static_cast<int16_t>(std::lrintf(
                                    std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
}
