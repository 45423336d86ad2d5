// AC-3 and E-AC-3, told apart by the stream itself, through FFmpeg's parser and decoders.
//
// The decoder's planar float becomes interleaved 16-bit without dither: each sample is multiplied
// by 32768, rounded to nearest (halves to even) and clamped. libswresample would do the same, but
// on 32-bit ARM it rounds down instead where a buffer happens to be aligned. Channels and rate stay
// the stream's. A frame whose checksum or contents are wrong is concealed as FFmpeg does it.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "host/codec_handles.h"
#include "player_service/playback/sound_decoder.h"

namespace player_service {

class ac3_decoder : public sound_decoder {
  public:
    // Null where FFmpeg lacks the decoders or memory is short.
    static std::unique_ptr<ac3_decoder> create();

    bool decode(const uint8_t* bytes, size_t size, uint32_t pts_ms, const output& out) override;
    bool decode_held(const output& out) override;
    bool finish(const output& out) override;

  private:
    ac3_decoder() = default;

    uint32_t take_pts(uint64_t packet_start);
    bool parse(const uint8_t* bytes, int size, const output& out, int& used);
    bool open_decoder(int codec_id);
    int find_codec(const uint8_t* packet, int bytes) const;
    bool decode_packet(uint32_t pts_ms, const output& out);
    bool send_frame(uint32_t pts_ms, const output& out);
    bool convert_frame(audio_format& format);
    static bool report_damage(const output& out);

    // Where a timestamp was given, counted in bytes of the stream.
    struct mark {
        uint64_t offset;
        uint32_t pts_ms;
    };

    codec_handle<AVCodecParserContext> parser_;
    codec_handle<AVCodecContext> parsed_;   // the parser's own
    codec_handle<AVCodecContext> decoder_;  // of the codec that the stream has now
    codec_handle<AVPacket> packet_;
    codec_handle<AVFrame> frame_;
    std::vector<uint8_t> padded_;
    std::vector<uint8_t> held_;    // what the parser has not given back yet
    size_t frames_of_packet_ = 1;  // of the last one: an E-AC-3 unit may have several
    std::vector<int16_t> samples_;
    std::deque<mark> marks_;
    uint64_t bytes_in_ = 0;
    uint64_t packet_start_ = 0;
};

}  // namespace player_service
