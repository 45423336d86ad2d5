#include "tools/direct/stream_source.h"

#include <algorithm>
#include <cstdlib>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace {

constexpr uint64_t block_frames = 1024;

// Containers round times, some to a millisecond; beyond this they mean it.
constexpr int64_t gap_ns = 5'000'000;

audio_format_t format_of(const media_file& file, bool decode) {
    const AVCodecID codec = file.stream().codecpar->codec_id;
    if (!decode && codec == AV_CODEC_ID_AC3) {
        return AUDIO_FORMAT_AC3;
    }
    if (!decode && codec == AV_CODEC_ID_EAC3) {
        return AUDIO_FORMAT_E_AC3;
    }
    return AUDIO_FORMAT_PCM_16_BIT;
}

int64_t frames_to_ns(uint64_t frames, uint32_t rate_hz) {
    return av_rescale(static_cast<int64_t>(frames), 1'000'000'000, rate_hz);
}

}  // namespace

stream_source::stream_source(const std::string& path, bool decode)
    : file_(path),
      format_(format_of(file_, decode)),
      decoder_(file_, format_ == AUDIO_FORMAT_PCM_16_BIT ? sound_decoder::output::samples
                                                         : sound_decoder::output::frame_count) {}

audio_channel_mask_t stream_source::channel_mask() const {
    if (const unsigned count = channels(); count <= 2 || count == 6 || count == 8) {
        return audio_channel_out_mask_from_count(count);
    }
    // Up to the top speakers, FFmpeg's positions are the platform's. What has none counts at least.
    const AVChannelLayout& layout = file_.stream().codecpar->ch_layout;
    const bool positional =
        layout.order == AV_CHANNEL_ORDER_NATIVE && layout.u.mask <= AUDIO_CHANNEL_OUT_7POINT1;
    return positional ? static_cast<audio_channel_mask_t>(layout.u.mask) : (1U << channels()) - 1;
}

std::string stream_source::coding_name() const {
    switch (file_.stream().codecpar->codec_id) {
        case AV_CODEC_ID_AC3:
            return "AC-3";
        case AV_CODEC_ID_EAC3:
            return "E-AC-3";
        default:
            return avcodec_get_name(file_.stream().codecpar->codec_id);
    }
}

bool stream_source::next(source_frame& frame) {
    return format_ == AUDIO_FORMAT_PCM_16_BIT ? next_block(frame) : next_packet(frame);
}

void stream_source::seek(double time_s) {
    file_.seek(time_s);
    decoder_.reset();
    samples_.clear();
    after_gap_.clear();
    at_end_ = false;
}

// A file may start before its own zero, by a decoder's delay; the stream's times cannot.
uint64_t stream_source::stream_time(int64_t pts_ns) {
    if (!shift_ns_) {
        shift_ns_ = std::max<int64_t>(-pts_ns, 0);
    }
    return static_cast<uint64_t>(std::max<int64_t>(pts_ns + *shift_ns_, 0));
}

bool stream_source::next_packet(source_frame& frame) {
    const AVPacket* packet = file_.read();
    if (packet == nullptr) {
        return false;
    }
    frame.bytes.assign(packet->data, packet->data + packet->size);
    frame.frames = 0;
    decoder_.put(packet);
    for (sound_decoder::decoded decoded; decoder_.get(decoded, samples_);) {
        frame.frames += decoded.frames;
    }
    const int64_t pts_ns = file_.to_ns(packet->pts).value_or(next_pts_ns_);
    next_pts_ns_ = pts_ns + frames_to_ns(frame.frames, rate_hz());
    frame.pts_ns = stream_time(pts_ns);
    return true;
}

// A block more than it gives away is kept back, so that the last one is never a few samples only:
// a frame shorter than the longest header would not be found at the end of a stream.
bool stream_source::next_block(source_frame& frame) {
    while (held_frames() < 2 * block_frames && after_gap_.empty() && decode_more()) {
    }
    if (samples_.empty() && !after_gap_.empty()) {
        samples_.swap(after_gap_);
        anchor_ns_ = after_gap_ns_;
        anchor_frames_ = 0;
        return next_block(frame);
    }
    if (samples_.empty()) {
        return false;
    }
    take_block(frame, held_frames() < 2 * block_frames ? held_frames() : block_frames);
    return true;
}

// False at the end.
bool stream_source::decode_more() {
    std::vector<int16_t> samples;
    sound_decoder::decoded decoded;
    while (!decoder_.get(decoded, samples)) {
        if (at_end_) {
            return false;
        }
        const AVPacket* packet = file_.read();
        at_end_ = packet == nullptr;
        decoder_.put(packet);
    }
    const int64_t expected_ns =
        anchor_ns_ + frames_to_ns(anchor_frames_ + held_frames(), rate_hz());
    const int64_t pts_ns = decoded.pts_ns.value_or(expected_ns);
    if (samples_.empty()) {
        anchor_ns_ = pts_ns;
        anchor_frames_ = 0;
    } else if (std::abs(pts_ns - expected_ns) > gap_ns) {
        after_gap_ = std::move(samples);
        after_gap_ns_ = pts_ns;
        return true;
    }
    samples_.insert(samples_.end(), samples.begin(), samples.end());
    return true;
}

void stream_source::take_block(source_frame& frame, uint64_t frames) {
    const size_t count = static_cast<size_t>(frames) * file_.channels();
    const auto* bytes = reinterpret_cast<const uint8_t*>(samples_.data());
    frame.bytes.assign(bytes, bytes + count * sizeof(int16_t));
    frame.frames = frames;
    frame.pts_ns = stream_time(anchor_ns_ + frames_to_ns(anchor_frames_, rate_hz()));
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<ptrdiff_t>(count));
    anchor_frames_ += frames;
}
