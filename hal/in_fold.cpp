#include "hal/in_fold.h"

#include <string.h>

#include "diag/log.h"

namespace {

constexpr const char* log_tag = "audio_hal";

void fold_frames(const int16_t* samples, uint32_t card_channels, char* mono, size_t frames) {
    for (size_t i = 0; i < frames; ++i) {
        const auto folded = static_cast<int16_t>(samples[0] / 2 + samples[1] / 2);
        memcpy(mono, &folded, sizeof(folded));
        samples += card_channels;
        mono += sizeof(folded);
    }
}

// Frames of two channels in one piece: constant counts are what it takes for compilers to make
// vector code of this at -O2.
constexpr size_t piece_frames = 32;

void fold_stereo_piece(const int16_t* samples, char* mono) {
    int16_t folded[piece_frames];
    for (size_t i = 0; i < piece_frames; ++i) {
        folded[i] = static_cast<int16_t>(samples[2 * i] / 2 + samples[2 * i + 1] / 2);
    }
    memcpy(mono, folded, sizeof(folded));
}

}  // namespace

void fold_channels(const void* card_frames, uint32_t card_channels, void* mono, size_t frames) {
    HAL_LOGV("audio_hal_in_stream:begin channel exchange\n");
    const auto* samples = static_cast<const int16_t*>(card_frames);
    auto* out = static_cast<char*>(mono);
    if (card_channels == 2) {
        for (; frames >= piece_frames; frames -= piece_frames) {
            fold_stereo_piece(samples, out);
            samples += 2 * piece_frames;
            out += piece_frames * sizeof(int16_t);
        }
    }
    fold_frames(samples, card_channels, out, frames);
}
