#include "pcm_format.h"

#include <cstring>

#include <tinyalsa/pcm.h>

namespace tinyalsa {

namespace {

// Indexed by pcm_format. WAV has neither signed 8-bit samples nor 24 bits at the low end of 32.
constexpr sample_format kFormats[kFormatCount] = {
    {"S16_LE", 2, true},  {"S32_LE", 4, true},  {"S8", 1, false},
    {"S24_LE", 4, false}, {"S24_3LE", 3, true},
};

}  // namespace

const sample_format* find_format(int format) {
    return format >= 0 && format < kFormatCount ? &kFormats[format] : nullptr;
}

int format_value(const pcm_config& config) {
    static_assert(sizeof config.format == sizeof(int));
    int value = 0;
    std::memcpy(&value, &config.format, sizeof value);
    return value;
}

}  // namespace tinyalsa
