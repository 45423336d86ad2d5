#include "hal/channel_mask.h"

namespace {

// The top two bits of a mask name its representation, the other bits stand for channels.
constexpr unsigned representation_shift = 30;
constexpr uint32_t index_bits = 0x3FFFFFFF;
constexpr uint32_t out_position_bits = 0xFFFFF;
constexpr uint32_t in_position_bits = 0x77FFFC;

uint32_t channel_count(audio_channel_mask_t mask, uint32_t position_bits) {
    switch (mask >> representation_shift) {
        case AUDIO_CHANNEL_REPRESENTATION_POSITION:
            return static_cast<uint32_t>(__builtin_popcount(mask & position_bits));
        case AUDIO_CHANNEL_REPRESENTATION_INDEX:
            return static_cast<uint32_t>(__builtin_popcount(mask & index_bits));
        default:
            return 0;
    }
}

}  // namespace

uint32_t channel_count_from_out_mask(audio_channel_mask_t mask) {
    return channel_count(mask, out_position_bits);
}

uint32_t channel_count_from_in_mask(audio_channel_mask_t mask) {
    return channel_count(mask, in_position_bits);
}
