#include "player_service/playback/ac3_decoder.h"

extern "C" {
#include <libavcodec/ac3_parser.h>
#include <libavcodec/avcodec.h>
}

#include <algorithm>

#include <zuavplayer/player_types.h>

#include "host/sample.h"
#include "player_service/playback/ffmpeg_log.h"

namespace player_service {

using android::ZU_PTS_NONE;

namespace {

// So many timestamps may wait for their unit: one comes with every chunk, and a unit is shorter
// than this many chunks of a byte each.
constexpr size_t kMaxMarks = 8192;

// No frame is shorter, and FFmpeg looks no further ahead for a header.
constexpr size_t kMinFrameBytes = 64;

// A unit of E-AC-3 has up to 8 programs of up to 9 frames of 4 KiB.
constexpr size_t kMaxUnitBytes = size_t{8} * 9 * 4096;

// How many frames these bytes are; 0 where the last one is cut, or anything else is among them.
size_t count_frames(const uint8_t* bytes, size_t size) {
    size_t count = 0;
    while (size > 0) {
        uint8_t stream_id = 0;
        uint16_t frame_bytes = 0;
        if (size < kMinFrameBytes ||
            av_ac3_parse_header(bytes, size, &stream_id, &frame_bytes) < 0 || frame_bytes == 0 ||
            frame_bytes > size) {
            return 0;
        }
        bytes += frame_bytes;
        size -= frame_bytes;
        ++count;
    }
    return count;
}

}  // namespace

std::unique_ptr<ac3_decoder> ac3_decoder::create() {
    route_ffmpeg_log();
    std::unique_ptr<ac3_decoder> made(new ac3_decoder);
    made->parser_.reset(av_parser_init(AV_CODEC_ID_AC3));
    made->parsed_.reset(avcodec_alloc_context3(nullptr));
    made->packet_.reset(av_packet_alloc());
    made->frame_.reset(av_frame_alloc());
    const bool complete = made->parser_ != nullptr && made->parsed_ != nullptr &&
                          made->packet_ != nullptr && made->frame_ != nullptr &&
                          made->open_decoder(AV_CODEC_ID_AC3);
    return complete ? std::move(made) : nullptr;
}

bool ac3_decoder::open_decoder(int codec_id) {
    if (decoder_ != nullptr && decoder_->codec_id == codec_id) {
        return true;
    }
    const AVCodec* codec = avcodec_find_decoder(static_cast<AVCodecID>(codec_id));
    if (codec == nullptr) {
        return false;
    }
    codec_handle<AVCodecContext> opened(avcodec_alloc_context3(codec));
    if (opened == nullptr) {
        return false;
    }
    opened->thread_count = 1;
    opened->err_recognition = AV_EF_CRCCHECK;
    if (avcodec_open2(opened.get(), codec, nullptr) < 0) {
        return false;
    }
    decoder_ = std::move(opened);
    return true;
}

// The codec of a packet; the present one where it does not begin with a frame. The parser has
// looked at the packet behind it already, so what it says is of that one.
int ac3_decoder::find_codec(const uint8_t* packet, int bytes) const {
    constexpr int identification_at = 5;
    constexpr int last_of_ac3 = 10;
    if (bytes <= identification_at || packet[0] != 0x0B || packet[1] != 0x77) {
        return decoder_->codec_id;
    }
    return packet[identification_at] >> 3 > last_of_ac3 ? AV_CODEC_ID_EAC3 : AV_CODEC_ID_AC3;
}

bool ac3_decoder::report_damage(const output& out) {
    decoded_sound lost;
    lost.pts_ms = ZU_PTS_NONE;
    lost.damaged = true;
    return out(lost);
}

// The latest timestamp given at or before the start of a packet and not before the one ahead of it.
uint32_t ac3_decoder::take_pts(uint64_t packet_start) {
    uint32_t pts_ms = ZU_PTS_NONE;
    while (!marks_.empty() && marks_.front().offset <= packet_start) {
        pts_ms = marks_.front().pts_ms;
        marks_.pop_front();
    }
    return pts_ms;
}

// Finds the next packet and decodes it. `used` is how many of the bytes the parser took; no bytes
// at all mean the end of the stream.
bool ac3_decoder::parse(const uint8_t* bytes, int size, const output& out, int& used) {
    uint8_t* data = nullptr;
    int data_bytes = 0;
    used = av_parser_parse2(parser_.get(), parsed_.get(), &data, &data_bytes, bytes, size,
                            AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
    if (used < 0) {
        used = size;
        return report_damage(out);
    }
    if (data_bytes <= 0) {
        return true;
    }
    const uint32_t pts_ms = take_pts(packet_start_);
    packet_start_ += static_cast<uint64_t>(data_bytes);
    const size_t packet_bytes = std::min(static_cast<size_t>(data_bytes), held_.size());
    frames_of_packet_ = count_frames(held_.data(), packet_bytes);
    held_.erase(held_.begin(), held_.begin() + static_cast<ptrdiff_t>(packet_bytes));
    // The parser's bytes are not padded, as a decoder needs them.
    if (av_new_packet(packet_.get(), data_bytes) < 0) {
        return report_damage(out);
    }
    std::copy_n(data, data_bytes, packet_->data);
    const bool has_decoder = open_decoder(find_codec(packet_->data, data_bytes));
    const bool go_on = has_decoder ? decode_packet(pts_ms, out) : report_damage(out);
    av_packet_unref(packet_.get());
    return go_on;
}

bool ac3_decoder::decode(const uint8_t* bytes, size_t size, uint32_t pts_ms, const output& out) {
    if (pts_ms != ZU_PTS_NONE) {
        marks_.push_back({bytes_in_, pts_ms});
        if (marks_.size() > kMaxMarks) {
            marks_.pop_front();
        }
    }
    bytes_in_ += size;
    held_.insert(held_.end(), bytes, bytes + size);
    padded_.assign(bytes, bytes + size);
    padded_.resize(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    size_t done = 0;
    bool go_on = true;
    while (go_on && done < size) {
        int used = 0;
        go_on = parse(padded_.data() + done, static_cast<int>(size - done), out, used);
        done += static_cast<size_t>(used);
    }
    // The parser itself would keep bytes without a header for ever.
    return go_on && held_.size() > kMaxUnitBytes ? finish(out) : go_on;
}

// The parser knows the end of an E-AC-3 unit only by the header behind it.
bool ac3_decoder::decode_held(const output& out) {
    const size_t frames = count_frames(held_.data(), held_.size());
    if (frames == 0 || frames < frames_of_packet_) {
        return true;
    }
    return finish(out);
}

bool ac3_decoder::finish(const output& out) {
    int used = 0;
    return parse(nullptr, 0, out, used);
}

bool ac3_decoder::decode_packet(uint32_t pts_ms, const output& out) {
    if (avcodec_send_packet(decoder_.get(), packet_.get()) < 0) {
        return report_damage(out);
    }
    for (;;) {
        const int error = avcodec_receive_frame(decoder_.get(), frame_.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) {
            return true;
        }
        if (!(error < 0 ? report_damage(out) : send_frame(pts_ms, out))) {
            return false;
        }
        pts_ms = ZU_PTS_NONE;
    }
}

bool ac3_decoder::send_frame(uint32_t pts_ms, const output& out) {
    decoded_sound sound;
    sound.pts_ms = pts_ms;
    if (!convert_frame(sound.format)) {
        return report_damage(out);
    }
    sound.samples = samples_.data();
    sound.frames = static_cast<size_t>(frame_->nb_samples);
    sound.damaged = frame_->decode_error_flags != 0;
    return out(sound);
}

// frame_ into samples_. False for a frame that this service does not play.
bool ac3_decoder::convert_frame(audio_format& format) {
    const int channels = frame_->ch_layout.nb_channels;
    const int rate_hz = frame_->sample_rate;
    if (frame_->format != AV_SAMPLE_FMT_FLTP || channels < 1 ||
        channels > static_cast<int>(kMaxChannels) || rate_hz < static_cast<int>(kMinRateHz) ||
        rate_hz > static_cast<int>(kMaxRateHz)) {
        return false;
    }
    format = {static_cast<unsigned>(channels), static_cast<uint32_t>(rate_hz)};
    samples_.resize(static_cast<size_t>(frame_->nb_samples) * format.channels);
    for (size_t channel = 0; channel < format.channels; ++channel) {
        const void* const plane = frame_->extended_data[channel];
        const auto* const from = static_cast<const float*>(plane);
        for (size_t i = 0; i < static_cast<size_t>(frame_->nb_samples); ++i) {
            samples_[i * format.channels + channel] = to_int16(from[i]);
        }
    }
    return true;
}

}  // namespace player_service
