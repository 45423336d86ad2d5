// How the card's channels become those of an input stream, which is settled when it is opened.
#pragma once

#include <algorithm>
#include <stddef.h>
#include <stdint.h>

#include "hal/channel_mask.h"
#include "records/stream_in.h"

// The card always delivers 16-bit samples, whatever the stream's format says.
constexpr size_t card_sample_bytes = 2;

// Room for card frames on their way to one channel.
constexpr size_t hal_buffer_bytes = 0x80000;

// A mono position, or an index mask of one channel: no other mask of one channel is folded.
inline bool is_mono(audio_channel_mask_t mask) {
    return mask == AUDIO_CHANNEL_IN_MONO || (mask >> 30 == AUDIO_CHANNEL_REPRESENTATION_INDEX &&
                                             channel_count_from_in_mask(mask) == 1);
}

// Whether card frames go through the hal buffer and are folded to one channel.
inline bool folds_channels(const hal_stream_in* in) {
    return is_mono(in->channel_mask) && in->config.channels > 1;
}

inline size_t card_frame_bytes(const hal_stream_in* in) {
    return in->config.channels * card_sample_bytes;
}

// The channels of the resampler and of its provider: the card's where they are folded afterwards,
// else the stream's, as far as the card has so many.
inline uint32_t resampler_channels(const hal_stream_in* in) {
    const uint32_t card_channels = in->config.channels;
    return folds_channels(in)
               ? card_channels
               : std::min(channel_count_from_in_mask(in->channel_mask), card_channels);
}
