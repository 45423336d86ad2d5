// Frame size of a stream, as its own getters describe it.
#pragma once

#include <stddef.h>

#include <hardware/audio.h>

// Bytes of one frame: samples of all channels for linear PCM and IEC 61937 (0 when the format or
// the mask is unknown), 1 for every other format. The rule for the mask is the caller's
// direction's.
size_t stream_frame_size(const struct audio_stream* stream,
                         uint32_t (*channel_count)(audio_channel_mask_t mask));
