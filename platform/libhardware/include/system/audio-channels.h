/*
 * Questions about channel masks. A mask is either of positions, whose meaning differs between
 * outputs and inputs, or of indexes; its top two bits say which.
 */
#ifndef CORVEX_SYSTEM_AUDIO_CHANNELS_H
#define CORVEX_SYSTEM_AUDIO_CHANNELS_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include <cutils/bitops.h>
#include <system/audio-base-utils.h>

__BEGIN_DECLS

/* Bits of a mask that hold its representation. */
#define AUDIO_CHANNEL_REPRESENTATION_LOG2 2

/* How a mask is read: AUDIO_CHANNEL_REPRESENTATION_*, or another value for no valid mask. */
static inline audio_channel_representation_t audio_channel_mask_get_representation(
    audio_channel_mask_t channel) {
    return (channel >> AUDIO_CHANNEL_COUNT_MAX) & ((1u << AUDIO_CHANNEL_REPRESENTATION_LOG2) - 1u);
}

static inline uint32_t audio_channel_mask_get_bits(audio_channel_mask_t channel) {
    return channel & ((1u << AUDIO_CHANNEL_COUNT_MAX) - 1u);
}

/* Puts a mask together; neither part is checked. */
static inline audio_channel_mask_t audio_channel_mask_from_representation_and_bits(
    audio_channel_representation_t representation, uint32_t bits) {
    return (representation << AUDIO_CHANNEL_COUNT_MAX) | bits;
}

/* Whether it is a mask with any channel at all, of outputs or inputs. */
static inline bool audio_channel_mask_is_valid(audio_channel_mask_t channel) {
    switch (audio_channel_mask_get_representation(channel)) {
        case AUDIO_CHANNEL_REPRESENTATION_POSITION:
        case AUDIO_CHANNEL_REPRESENTATION_INDEX:
            return audio_channel_mask_get_bits(channel) != 0;
        default:
            return false;
    }
}

/* Bits of a mask whose positions may be those in `known`: all bits of indexes, 0 for no mask. */
static inline uint32_t corvex_channel_bits(audio_channel_mask_t channel, uint32_t known) {
    switch (audio_channel_mask_get_representation(channel)) {
        case AUDIO_CHANNEL_REPRESENTATION_POSITION:
            return audio_channel_mask_get_bits(channel) & known;
        case AUDIO_CHANNEL_REPRESENTATION_INDEX:
            return audio_channel_mask_get_bits(channel);
        default:
            return 0;
    }
}

/* Whether every channel of a mask could be one of an input, or of an output; there is at least one.
 */
static inline bool audio_is_input_channel(audio_channel_mask_t channel) {
    const uint32_t bits = corvex_channel_bits(channel, AUDIO_CHANNEL_IN_ALL);
    return bits != 0 && bits == audio_channel_mask_get_bits(channel);
}

static inline bool audio_is_output_channel(audio_channel_mask_t channel) {
    const uint32_t bits = corvex_channel_bits(channel, AUDIO_CHANNEL_OUT_ALL);
    return bits != 0 && bits == audio_channel_mask_get_bits(channel);
}

/* Channels of a mask, without positions that the direction does not have; 0 for no valid mask. */
static inline uint32_t audio_channel_count_from_in_mask(audio_channel_mask_t channel) {
    return CORVEX_CAST(uint32_t, popcount(corvex_channel_bits(channel, AUDIO_CHANNEL_IN_ALL)));
}

static inline uint32_t audio_channel_count_from_out_mask(audio_channel_mask_t channel) {
    return CORVEX_CAST(uint32_t, popcount(corvex_channel_bits(channel, AUDIO_CHANNEL_OUT_ALL)));
}

/*
 * A mask for so many channels: AUDIO_CHANNEL_NONE for 0, AUDIO_CHANNEL_INVALID for more than there
 * is a usual mask for. Outputs have positions up to 8 channels; inputs have positions for one and
 * two, and indexes up to 8.
 */
static inline audio_channel_mask_t audio_channel_mask_for_index_assignment_from_count(
    uint32_t channel_count) {
    if (channel_count == 0) {
        return AUDIO_CHANNEL_NONE;
    }
    if (channel_count > AUDIO_CHANNEL_COUNT_MAX) {
        return AUDIO_CHANNEL_INVALID;
    }
    return audio_channel_mask_from_representation_and_bits(AUDIO_CHANNEL_REPRESENTATION_INDEX,
                                                           (1u << channel_count) - 1u);
}

static inline audio_channel_mask_t audio_channel_out_mask_from_count(uint32_t channel_count) {
    switch (channel_count) {
        case 0:
            return AUDIO_CHANNEL_NONE;
        case 1:
            return AUDIO_CHANNEL_OUT_MONO;
        case 2:
            return AUDIO_CHANNEL_OUT_STEREO;
        case 3:
            return AUDIO_CHANNEL_OUT_STEREO | AUDIO_CHANNEL_OUT_FRONT_CENTER;
        case 4:
            return AUDIO_CHANNEL_OUT_QUAD;
        case 5:
            return AUDIO_CHANNEL_OUT_QUAD | AUDIO_CHANNEL_OUT_FRONT_CENTER;
        case 6:
            return AUDIO_CHANNEL_OUT_5POINT1;
        case 7:
            return AUDIO_CHANNEL_OUT_5POINT1 | AUDIO_CHANNEL_OUT_BACK_CENTER;
        case 8:
            return AUDIO_CHANNEL_OUT_7POINT1;
        default:
            return AUDIO_CHANNEL_INVALID;
    }
}

static inline audio_channel_mask_t audio_channel_in_mask_from_count(uint32_t channel_count) {
    switch (channel_count) {
        case 1:
            return AUDIO_CHANNEL_IN_MONO;
        case 2:
            return AUDIO_CHANNEL_IN_STEREO;
        default:
            return channel_count <= 8
                       ? audio_channel_mask_for_index_assignment_from_count(channel_count)
                       : CORVEX_CAST(audio_channel_mask_t, AUDIO_CHANNEL_INVALID);
    }
}

/* The output mask that plays what an input mask recorded; AUDIO_CHANNEL_INVALID where there is
 * none.
 */
static inline audio_channel_mask_t audio_channel_mask_in_to_out(audio_channel_mask_t in) {
    switch (in) {
        case AUDIO_CHANNEL_IN_MONO:
            return AUDIO_CHANNEL_OUT_MONO;
        case AUDIO_CHANNEL_IN_STEREO:
            return AUDIO_CHANNEL_OUT_STEREO;
        case AUDIO_CHANNEL_IN_5POINT1:
            return AUDIO_CHANNEL_OUT_5POINT1;
        case AUDIO_CHANNEL_IN_3POINT1POINT2:
            return AUDIO_CHANNEL_OUT_3POINT1POINT2;
        case AUDIO_CHANNEL_IN_3POINT0POINT2:
            return AUDIO_CHANNEL_OUT_3POINT0POINT2;
        case AUDIO_CHANNEL_IN_2POINT1POINT2:
            return AUDIO_CHANNEL_OUT_2POINT1POINT2;
        case AUDIO_CHANNEL_IN_2POINT0POINT2:
            return AUDIO_CHANNEL_OUT_2POINT0POINT2;
        default:
            return AUDIO_CHANNEL_INVALID;
    }
}

__END_DECLS

#endif
