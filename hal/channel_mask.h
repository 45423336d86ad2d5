// How many channels a channel mask stands for.
#pragma once

#include <stdint.h>

#include <system/audio.h>

// Positional and index masks of outputs and of inputs; 0 for a mask of any other representation.
uint32_t channel_count_from_out_mask(audio_channel_mask_t mask);
uint32_t channel_count_from_in_mask(audio_channel_mask_t mask);
