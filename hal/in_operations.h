// The operations of an input stream, as the framework calls them through the stream's table.
//
// read, standby and set_parameters hold the stream's lock; read adds the device's lock while it
// opens the card. All others take no lock. A null pointer is refused: -EINVAL where nothing else
// is said, 0 where the result is a size, a rate, a mask or a count.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <hardware/audio.h>

// Attributes (in_attributes.cpp). What is set is reported, and changes how reads count frames; the
// conversion of rate and channels stays as it was settled when the stream was opened.
uint32_t in_get_sample_rate(const struct audio_stream* stream);
int in_set_sample_rate(struct audio_stream* stream, uint32_t rate);
size_t in_get_buffer_size(const struct audio_stream* stream);
audio_channel_mask_t in_get_channels(const struct audio_stream* stream);
audio_format_t in_get_format(const struct audio_stream* stream);
int in_set_format(struct audio_stream* stream, audio_format_t format);

// Accepted and ignored (in_attributes.cpp).
int in_dump(const struct audio_stream* stream, int fd);
int in_add_audio_effect(const struct audio_stream* stream, effect_handle_t effect);
int in_remove_audio_effect(const struct audio_stream* stream, effect_handle_t effect);
int in_set_gain(struct audio_stream_in* stream, float gain);
uint32_t in_get_input_frames_lost(struct audio_stream_in* stream);

// Not supported: -ENOSYS (in_attributes.cpp).
int in_getCapturePosition(const struct audio_stream_in* stream, int64_t* frames, int64_t* time);
int in_start(const struct audio_stream_in* stream);
int in_stop(const struct audio_stream_in* stream);

// Parameters (in_parameters.cpp).
int in_set_parameters(struct audio_stream* stream, const char* kvpairs);
char* in_get_parameters(const struct audio_stream* stream, const char* keys);  // caller frees

// Data (in_read.cpp). read blocks and answers `bytes`, also when the card fails; when it cannot be
// opened it sleeps for as long as the data would have taken. -EINVAL where no frame has a size or
// the rate is 0, and for more than INT32_MAX bytes.
ssize_t in_read(struct audio_stream_in* stream, void* buffer, size_t bytes);
int in_standby(struct audio_stream* stream);
