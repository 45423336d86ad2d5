// Card frames folded to one channel.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Stores half of the left plus half of the right sample of each card frame, each half rounded
// toward zero. A card frame has at least two channels; those behind the second are left out.
// `mono` need not be aligned.
void fold_channels(const void* card_frames, uint32_t card_channels, void* mono, size_t frames);
