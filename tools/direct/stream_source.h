// What a direct stream is fed with: the frames of a media file's sound, each with the time at which
// it is to be heard. AC-3 and E-AC-3 come as they are, one frame a packet; any other sound comes as
// 16-bit samples, in frames of about 1024.
//
// One thread. Throws what media_file and sound_decoder throw.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <system/audio.h>

#include "tools/media/media_file.h"
#include "tools/media/sound_decoder.h"

struct source_frame {
    std::vector<uint8_t> bytes;
    uint64_t pts_ns = 0;
    uint64_t frames = 0;  // samples of one channel that a decoder makes of it
};

class stream_source {
  public:
    // `decode` turns AC-3 and E-AC-3 into samples as well.
    stream_source(const std::string& path, bool decode);

    audio_format_t format() const { return format_; }
    audio_channel_mask_t channel_mask() const;
    uint32_t rate_hz() const { return file_.rate_hz(); }
    unsigned channels() const { return file_.channels(); }
    std::string coding_name() const;  // of the sound in the file: "E-AC-3", "flac"
    std::optional<double> duration_s() const { return file_.duration_s(); }

    // False at the end.
    bool next(source_frame& frame);

    // What comes next is from here, counted from the file's beginning.
    void seek(double time_s);

    uint64_t damaged_packets() const { return decoder_.damaged_packets(); }

  private:
    bool next_packet(source_frame& frame);
    bool next_block(source_frame& frame);
    bool decode_more();
    void take_block(source_frame& frame, uint64_t frames);
    uint64_t held_frames() const { return samples_.size() / file_.channels(); }
    uint64_t stream_time(int64_t pts_ns);

    media_file file_;
    audio_format_t format_;
    sound_decoder decoder_;
    bool at_end_ = false;
    std::optional<int64_t> shift_ns_;  // lifts what starts below 0 to 0
    int64_t next_pts_ns_ = 0;          // for a packet without a time of its own

    // Samples that were decoded and not given away; the first of them is anchor_frames_ behind the
    // time anchor_ns_.
    std::vector<int16_t> samples_;
    int64_t anchor_ns_ = 0;
    uint64_t anchor_frames_ = 0;
    // Decoded as well, but their time does not continue the others'.
    std::vector<int16_t> after_gap_;
    int64_t after_gap_ns_ = 0;
};
