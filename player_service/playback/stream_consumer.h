// What becomes of stream data, and how that waits.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "player_service/playback/audio_format.h"
#include "player_service/playback/stream_buffer.h"

namespace player_service {

// The consumer's view of the player that feeds it.
class playback_gate {
  public:
    virtual ~playback_gate() = default;
    // Waits while the player is paused. False once the stream is being dropped.
    virtual bool may_play() = 0;
    // Waits that long, less when the stream is dropped or the player paused meanwhile.
    virtual void wait(std::chrono::nanoseconds time) = 0;
    // Whether a track carries the sound to an output.
    virtual bool is_audible() const = 0;
    // How often the player has been paused.
    virtual uint32_t pauses() const = 0;
};

// How far a stream has come.
struct playback_status {
    audio_format format;     // of the latest sound; all 0 until there is some
    uint64_t frames = 0;     // that went to the output
    uint64_t played_us = 0;  // the same as time, across changes of rate
    uint32_t pts_ms = 0;     // the latest timestamp whose sound went to the output
    bool has_pts = false;
    uint32_t units = 0;          // pieces of the stream that were decoded
    uint32_t damaged_units = 0;  // of which concealed or skipped
    uint32_t underruns = 0;      // the output ran dry, and sound followed
    // Timestamps against sound, with the sync attribute on.
    uint32_t timestamps = 0;
    uint32_t gaps = 0;
    uint32_t overlaps = 0;
    uint32_t reordered = 0;
    int64_t drift_us = 0;
    std::chrono::nanoseconds delay{0};  // until what went to the output has been heard
};

class stream_consumer {
  public:
    virtual ~stream_consumer() = default;
    // Takes one chunk, waiting for its sound to go to the output. All but status(): one thread;
    // they return early when the gate says that the stream is being dropped.
    virtual void consume(const stream_chunk& chunk, playback_gate& gate) = 0;
    // How long the consumer waits for the next chunk before it wants starve() to be called. None:
    // for as long as it takes.
    virtual std::optional<std::chrono::nanoseconds> patience() const = 0;
    // The next chunk is late: what is held plays before the output runs dry.
    virtual void starve(playback_gate& gate) = 0;
    // Nothing more comes: plays what is left, and waits until it has been heard.
    virtual void finish(playback_gate& gate) = 0;
    // Any thread.
    virtual playback_status status() const = 0;
};

}  // namespace player_service
