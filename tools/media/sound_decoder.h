// Decodes the packets of a media file's sound with libavcodec: to 16-bit samples, or only to know
// how many frames they hold.
//
// Samples of any other kind are converted by libswresample without dither, in the channel order of
// the file; channels and rate stay those that the file began with.
//
// One thread. Damaged packets are counted, never an error.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/codec_handles.h"
#include "tools/media/media_file.h"

struct SwrContext;

class sound_decoder {
  public:
    enum class output {
        samples,      // without what the container says to skip at its ends
        frame_count,  // all that the packets hold, as a decoder gives it that sees only packets
    };

    // Borrows the file, whose packets it takes. Throws program_error when there is no such decoder.
    sound_decoder(const media_file& file, output what);
    ~sound_decoder();
    sound_decoder(const sound_decoder&) = delete;
    sound_decoder& operator=(const sound_decoder&) = delete;

    // Takes a packet, or null for the end.
    void put(const AVPacket* packet);

    // One decoded frame: false when the next packet is needed first. Samples are appended.
    struct decoded {
        uint64_t frames = 0;
        std::optional<int64_t> pts_ns;
    };
    bool get(decoded& result, std::vector<int16_t>& samples);

    // Forgets what it holds: what comes next does not continue it.
    void reset();

    uint64_t damaged_packets() const { return damaged_packets_; }

  private:
    struct closer {
        void operator()(SwrContext* context) const;
    };

    void prepare_converter();
    uint64_t convert(std::vector<int16_t>& samples);

    const media_file& file_;
    output what_;
    codec_handle<AVCodecContext> context_;
    codec_handle<AVFrame> frame_;
    codec_handle<AVFrame> converted_from_;  // properties of what converter_ takes
    std::unique_ptr<SwrContext, closer> converter_;
    uint64_t damaged_packets_ = 0;
};
