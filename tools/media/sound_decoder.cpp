#include "tools/media/sound_decoder.h"

#include <algorithm>
#include <cerrno>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include "host/program_error.h"

namespace {

// A layout by count alone gets its customary order, as every player gives it.
void name_layout(AVChannelLayout& layout) {
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&layout, layout.nb_channels);
    }
}

bool same_kind(const AVFrame& a, const AVFrame& b) {
    return a.format == b.format && a.sample_rate == b.sample_rate &&
           av_channel_layout_compare(&a.ch_layout, &b.ch_layout) == 0;
}

template <typename Pointer>
Pointer require(Pointer pointer) {
    if (pointer == nullptr) {
        throw std::bad_alloc();
    }
    return pointer;
}

}  // namespace

void sound_decoder::closer::operator()(SwrContext* context) const {
    swr_free(&context);
}

sound_decoder::sound_decoder(const media_file& file, output what) : file_(file), what_(what) {
    const AVCodecParameters& parameters = *file.stream().codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (codec == nullptr) {
        throw program_error("this FFmpeg has no decoder for the " +
                            std::string(avcodec_get_name(parameters.codec_id)) + " sound of '" +
                            file.path() + "'; convert it to AC-3 or WAV first");
    }
    context_.reset(require(avcodec_alloc_context3(codec)));
    frame_.reset(require(av_frame_alloc()));
    converted_from_.reset(require(av_frame_alloc()));
    int result = avcodec_parameters_to_context(context_.get(), &parameters);
    if (result >= 0) {
        context_->pkt_timebase = file.stream().time_base;
        if (what == output::frame_count) {
            context_->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
        }
        result = avcodec_open2(context_.get(), codec, nullptr);
    }
    if (result < 0) {
        throw program_error("cannot decode the " + std::string(codec->name) + " sound of '" +
                            file.path() + "': " + media_error_text(result) +
                            "; convert it to AC-3 or WAV first");
    }
}

sound_decoder::~sound_decoder() = default;

void sound_decoder::put(const AVPacket* packet) {
    const int result = avcodec_send_packet(context_.get(), packet);
    if (result == AVERROR(ENOMEM)) {
        throw std::bad_alloc();
    }
    if (result < 0 && result != AVERROR_EOF) {
        ++damaged_packets_;
    }
}

bool sound_decoder::get(decoded& result, std::vector<int16_t>& samples) {
    for (;;) {
        const int status = avcodec_receive_frame(context_.get(), frame_.get());
        if (status == AVERROR(ENOMEM)) {
            throw std::bad_alloc();
        }
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) {
            return false;
        }
        if (status < 0) {
            ++damaged_packets_;
            continue;
        }
        result.pts_ns = file_.to_ns(frame_->best_effort_timestamp);
        result.frames =
            what_ == output::samples ? convert(samples) : static_cast<uint64_t>(frame_->nb_samples);
        return true;
    }
}

void sound_decoder::reset() {
    avcodec_flush_buffers(context_.get());
    converter_.reset();
}

void sound_decoder::prepare_converter() {
    name_layout(frame_->ch_layout);
    if (converter_ != nullptr && same_kind(*frame_, *converted_from_)) {
        return;
    }
    const AVCodecParameters& wanted = *file_.stream().codecpar;
    AVChannelLayout layout{};
    if (av_channel_layout_copy(&layout, &wanted.ch_layout) < 0) {
        throw std::bad_alloc();
    }
    name_layout(layout);
    SwrContext* made = nullptr;
    int result = swr_alloc_set_opts2(
        &made, &layout, AV_SAMPLE_FMT_S16, wanted.sample_rate, &frame_->ch_layout,
        static_cast<AVSampleFormat>(frame_->format), frame_->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&layout);
    converter_.reset(made);
    if (result >= 0) {
        result = swr_init(converter_.get());
    }
    av_frame_unref(converted_from_.get());
    converted_from_->format = frame_->format;
    converted_from_->sample_rate = frame_->sample_rate;
    if (result < 0 || av_channel_layout_copy(&converted_from_->ch_layout, &frame_->ch_layout) < 0) {
        throw program_error("cannot convert the sound of '" + file_.path() + "' to 16 bits: " +
                            media_error_text(result) + "; convert it to WAV first");
    }
}

uint64_t sound_decoder::convert(std::vector<int16_t>& samples) {
    prepare_converter();
    const int room_frames = swr_get_out_samples(converter_.get(), frame_->nb_samples);
    const size_t channels = file_.channels();
    const size_t before = samples.size();
    samples.resize(before + static_cast<size_t>(std::max(room_frames, 0)) * channels);
    auto* out = reinterpret_cast<uint8_t*>(samples.data() + before);
    const int frames =
        swr_convert(converter_.get(), &out, room_frames,
                    const_cast<const uint8_t**>(frame_->extended_data), frame_->nb_samples);
    if (frames < 0) {
        throw program_error("cannot convert the sound of '" + file_.path() + "' to 16 bits: " +
                            media_error_text(frames) + "; convert it to WAV first");
    }
    samples.resize(before + static_cast<size_t>(frames) * channels);
    return static_cast<uint64_t>(frames);
}
