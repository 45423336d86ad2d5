#include "player_service/playback/pcm_decoder.h"

#include <cstring>
#include <utility>

#include <zuavplayer/player_types.h>

namespace player_service {

using android::ZU_PTS_NONE;

pcm_decoder::pcm_decoder(const audio_format& format)
    : format_(format),
      frame_bytes_(format.channels * sizeof(int16_t)),
      first_pts_ms_(ZU_PTS_NONE),
      next_pts_ms_(ZU_PTS_NONE) {}

bool pcm_decoder::send(size_t first_frame, size_t frames, uint32_t pts_ms,
                       const output& out) const {
    decoded_sound sound;
    sound.samples = samples_.data() + first_frame * format_.channels;
    sound.frames = frames;
    sound.format = format_;
    sound.pts_ms = pts_ms;
    return out(sound);
}

bool pcm_decoder::decode(const uint8_t* bytes, size_t size, uint32_t pts_ms, const output& out) {
    const size_t total = held_bytes_ + size;
    samples_.resize((total + 1) / sizeof(int16_t));
    if (size > 0) {
        std::memcpy(reinterpret_cast<uint8_t*>(samples_.data()) + held_bytes_, bytes, size);
    }
    if (pts_ms != ZU_PTS_NONE) {
        next_pts_ms_ = pts_ms;
    }
    // A frame that is held has begun before these bytes, so the timestamp is not its own.
    const bool is_first_older = held_bytes_ > 0;
    if (!is_first_older) {
        first_pts_ms_ = std::exchange(next_pts_ms_, ZU_PTS_NONE);
    }
    const size_t frames = total / frame_bytes_;
    bool go_on = true;
    if (next_pts_ms_ != ZU_PTS_NONE && frames > 1) {
        go_on = send(0, 1, first_pts_ms_, out) && send(1, frames - 1, next_pts_ms_, out);
        next_pts_ms_ = ZU_PTS_NONE;
    } else if (frames > 0) {
        go_on = send(0, frames, first_pts_ms_, out);
    }
    held_bytes_ = total - frames * frame_bytes_;
    if (frames > 0) {
        first_pts_ms_ = held_bytes_ > 0 ? std::exchange(next_pts_ms_, ZU_PTS_NONE) : ZU_PTS_NONE;
        auto* start = reinterpret_cast<uint8_t*>(samples_.data());
        std::memmove(start, start + frames * frame_bytes_, held_bytes_);
    }
    return go_on;
}

bool pcm_decoder::finish(const output& out) {
    if (held_bytes_ == 0) {
        return true;
    }
    held_bytes_ = 0;
    decoded_sound rest;
    rest.format = format_;
    rest.pts_ms = ZU_PTS_NONE;
    rest.damaged = true;
    return out(rest);
}

}  // namespace player_service
