// Turns stream data into sound. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "player_service/playback/audio_format.h"

namespace player_service {

struct decoded_sound {
    const int16_t* samples = nullptr;  // borrowed for the call
    size_t frames = 0;                 // 0 for a damaged unit that gave no sound
    audio_format format;
    uint32_t pts_ms = 0;   // of the first frame; ZU_PTS_NONE for none
    bool damaged = false;  // concealed or skipped
};

class sound_decoder {
  public:
    // Gets each unit in order. False: the stream is being dropped, and decoding stops.
    using output = std::function<bool(const decoded_sound&)>;

    virtual ~sound_decoder() = default;

    // `pts_ms` is of the first unit that begins in these bytes. Units may be cut anywhere between
    // calls. All return what the output last answered.
    virtual bool decode(const uint8_t* bytes, size_t size, uint32_t pts_ms, const output& out) = 0;
    // Nothing more has come for a while: decodes what is held, if it looks complete.
    virtual bool decode_held(const output&) { return true; }
    // Nothing more comes: decodes what is left.
    virtual bool finish(const output& out) = 0;
};

// What a client asks for with SetAdecAttr. Only PCM needs more than the type: a compressed stream
// says the rest itself.
struct decoder_config {
    uint32_t type = 0;  // ZU_ADEC_*
    audio_format format;
};

// Whether make_decoder() knows this type.
bool is_decoder_type(uint32_t type);
// Whether it makes a decoder of this.
bool is_decodable(const decoder_config& config);
// For a config that is_decodable(). Null where memory is short.
std::unique_ptr<sound_decoder> make_decoder(const decoder_config& config);

}  // namespace player_service
