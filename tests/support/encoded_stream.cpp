#include "tests/support/encoded_stream.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "FFmpeg cannot make the test's stream: %s\n", what);
        std::abort();
    }
}

AVCodecContext* open_codec(const AVCodec* codec, const player_service::audio_format& format) {
    require(codec != nullptr, "no such codec");
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (av_codec_is_encoder(codec) != 0) {
        context->sample_fmt = AV_SAMPLE_FMT_FLTP;
        context->sample_rate = static_cast<int>(format.rate_hz);
        context->bit_rate = 64000 * static_cast<int64_t>(format.channels);
        av_channel_layout_default(&context->ch_layout, static_cast<int>(format.channels));
    }
    require(avcodec_open2(context, codec, nullptr) >= 0, "a codec does not open");
    return context;
}

// The conversion that the service promises, written down a second time.
int16_t to_int16(float sample) {
    return static_cast<int16_t>(std::clamp(std::lrintf(sample * 32768.0F), -32768L, 32767L));
}

// One channel's samples; FFmpeg aligns its planes for any type.
float* plane(const AVFrame* frame, int channel) {
    void* const bytes = frame->extended_data[channel];
    return static_cast<float*>(bytes);
}

std::vector<int16_t> decode_packet(AVCodecContext* decoder, const AVPacket* packet) {
    std::vector<int16_t> samples;
    AVFrame* frame = av_frame_alloc();
    require(avcodec_send_packet(decoder, packet) >= 0, "its own decoder refuses it");
    while (avcodec_receive_frame(decoder, frame) >= 0) {
        for (int at = 0; at < frame->nb_samples; ++at) {
            for (int channel = 0; channel < frame->ch_layout.nb_channels; ++channel) {
                samples.push_back(to_int16(plane(frame, channel)[at]));
            }
        }
    }
    av_frame_free(&frame);
    return samples;
}

}  // namespace

std::vector<encoded_frame> encode(codec which, const player_service::audio_format& format,
                                  size_t frames, uint32_t seed) {
    const AVCodecID id = which == codec::ac3 ? AV_CODEC_ID_AC3 : AV_CODEC_ID_EAC3;
    AVCodecContext* encoder = open_codec(avcodec_find_encoder(id), format);
    AVCodecContext* decoder = open_codec(avcodec_find_decoder(id), format);
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> noise(-0.7F, 0.7F);
    std::vector<encoded_frame> made;
    int64_t at = 0;
    while (made.size() < frames) {
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->nb_samples = encoder->frame_size;
        frame->sample_rate = encoder->sample_rate;
        frame->pts = at;
        require(av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout) >= 0 &&
                    av_frame_get_buffer(frame, 0) >= 0,
                "memory");
        for (int channel = 0; channel < encoder->ch_layout.nb_channels; ++channel) {
            float* const to = plane(frame, channel);
            for (int i = 0; i < frame->nb_samples; ++i) {
                const auto time = static_cast<float>(at + i);
                to[i] =
                    0.9F * std::sin(time * 0.01F * static_cast<float>(channel + 1)) + noise(random);
            }
        }
        at += frame->nb_samples;
        require(avcodec_send_frame(encoder, frame) >= 0, "the encoder takes no sound");
        av_frame_unref(frame);
        while (avcodec_receive_packet(encoder, packet) >= 0) {
            made.push_back(
                {{packet->data, packet->data + packet->size}, decode_packet(decoder, packet)});
            av_packet_unref(packet);
        }
    }
    made.resize(frames);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&encoder);
    avcodec_free_context(&decoder);
    return made;
}

std::vector<uint8_t> bytes_of(const std::vector<encoded_frame>& frames) {
    std::vector<uint8_t> all;
    for (const encoded_frame& frame : frames) {
        all.insert(all.end(), frame.bytes.begin(), frame.bytes.end());
    }
    return all;
}

std::vector<int16_t> samples_of(const std::vector<encoded_frame>& frames) {
    std::vector<int16_t> all;
    for (const encoded_frame& frame : frames) {
        all.insert(all.end(), frame.samples.begin(), frame.samples.end());
    }
    return all;
}
