// 16-bit PCM in host order: passes it on in whole frames, bit for bit.
#pragma once

#include <vector>

#include "player_service/playback/sound_decoder.h"

namespace player_service {

class pcm_decoder : public sound_decoder {
  public:
    explicit pcm_decoder(const audio_format& format);

    bool decode(const uint8_t* bytes, size_t size, uint32_t pts_ms, const output& out) override;
    // A frame that was begun and not completed is a damaged unit.
    bool finish(const output& out) override;

  private:
    bool send(size_t first_frame, size_t frames, uint32_t pts_ms, const output& out) const;

    const audio_format format_;
    const size_t frame_bytes_;
    std::vector<int16_t> samples_;
    size_t held_bytes_ = 0;  // at the start of samples_, fewer than a frame
    uint32_t first_pts_ms_;  // of the frame at the start of samples_
    uint32_t next_pts_ms_;   // of the next frame to begin
};

}  // namespace player_service
