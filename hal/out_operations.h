// The operations of an output stream, as the framework calls them through the stream's table.
//
// write, standby, pause, resume, drain and flush hold the stream's lock; write adds the device's
// lock while it opens the back end. All others take no lock. A null pointer is refused: -EINVAL
// where nothing else is said, 0 where the result is a size, a rate or a mask.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>
#include <time.h>

#include <hardware/audio.h>

// Attributes (out_attributes.cpp).
uint32_t out_get_sample_rate(const struct audio_stream* stream);
int out_set_sample_rate(struct audio_stream* stream, uint32_t rate);
size_t out_get_buffer_size(const struct audio_stream* stream);
audio_channel_mask_t out_get_channels(const struct audio_stream* stream);
audio_format_t out_get_format(const struct audio_stream* stream);
int out_set_format(struct audio_stream* stream, audio_format_t format);
uint32_t out_get_latency(const struct audio_stream_out* stream);  // ms; UINT32_MAX on an error

// Accepted and ignored: effects, volume and dumps happen elsewhere (out_attributes.cpp).
int out_dump(const struct audio_stream* stream, int fd);
int out_add_audio_effect(const struct audio_stream* stream, effect_handle_t effect);
int out_remove_audio_effect(const struct audio_stream* stream, effect_handle_t effect);
int out_set_volume(struct audio_stream_out* stream, float left, float right);

// Parameters (out_parameters.cpp).
int out_set_parameters(struct audio_stream* stream, const char* kvpairs);
char* out_get_parameters(const struct audio_stream* stream, const char* keys);  // caller frees

// Data (out_write.cpp). write blocks; when the back end cannot be opened it sleeps for as long as
// the data would have played and answers `bytes`.
ssize_t out_write(struct audio_stream_out* stream, const void* buffer, size_t bytes);
int out_standby(struct audio_stream* stream);

// Positions (out_position.cpp).
int out_get_render_position(const struct audio_stream_out* stream, uint32_t* dsp_frames);
int out_get_presentation_position(const struct audio_stream_out* stream, uint64_t* frames,
                                  struct timespec* timestamp);
int out_get_next_write_timestamp(const struct audio_stream_out* stream, int64_t* timestamp);

// Direct streams only (out_direct_controls.cpp). Pause, resume and flush give -1 for a null stream.
int out_set_callback(struct audio_stream_out* stream, stream_callback_t callback, void* cookie);
int out_pause(struct audio_stream_out* stream);
int out_resume(struct audio_stream_out* stream);
int out_drain(struct audio_stream_out* stream, audio_drain_type_t type);
int out_flush(struct audio_stream_out* stream);
