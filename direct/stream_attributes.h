// How a stream's format is played: what the player, its decoder and the sound output are set to.
#pragma once

#include <stdint.h>

#include <system/audio.h>

struct avplay_session;

struct direct_format {
    audio_format_t format;
    uint32_t decoder_type;
    uint32_t audio_buffer_bytes;     // stream data that the player holds undecoded
    uint32_t decoder_output_frames;  // decoded frames that it holds
};

// The row of a format; null for one that the service cannot play.
const direct_format* direct_format_of(audio_format_t format);

// Sound output 0's latency while a direct session is there, and when it has gone; milliseconds.
constexpr uint32_t direct_latency_ms = 30;
constexpr uint32_t idle_latency_ms = 40;

// Sets the session's player, decoder and sound output for the stream. The first failure's code,
// after its log lines; what was set before it stays set.
int32_t set_stream_attributes(const struct avplay_session* session, const direct_format& format);
