// Where an input stream's resampler gets its input: whole periods of the card, through the stream's
// work buffer. Called by the resampler only, inside a read and under its lock.
#pragma once

#include <stddef.h>  // for audio_utils/resampler.h, which uses size_t without it

#include <audio_utils/resampler.h>

// Stores where the next frames of the current period are and how many: as many as the buffer asks
// for, or the rest of the period. Reads the next period once the current one is used up. 0, -EINVAL
// for a null pointer, -ENODEV while the card is closed, -1 without a work buffer, or what pcm_read
// answered; on a failure the buffer is null and has no frames.
int rsrc_get_next_buffer(struct resampler_buffer_provider* provider,
                         struct resampler_buffer* buffer);

// Takes note that the buffer's frames are used up.
void rsrc_release_buffer(struct resampler_buffer_provider* provider,
                         struct resampler_buffer* buffer);
