#include "hal/in_fold.h"

#include <string.h>

#include "diag/log.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

void fold_channels(const void* card_frames, uint32_t card_channels, void* mono, size_t frames) {
    HAL_LOGV("audio_hal_in_stream:begin channel exchange\n");
    const auto* sample = static_cast<const int16_t*>(card_frames);
    auto* out = static_cast<char*>(mono);
    for (size_t i = 0; i < frames; ++i) {
        const auto folded = static_cast<int16_t>(sample[0] / 2 + sample[1] / 2);
        memcpy(out, &folded, sizeof(folded));
        sample += card_channels;
        out += sizeof(folded);
    }
}
