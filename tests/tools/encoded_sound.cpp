#include "tests/tools/encoded_sound.h"

#include <cmath>
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

std::vector<std::string> encode(const std::string& codec, int channels, int packets) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(codec.c_str());
    AVCodecContext* context = avcodec_alloc_context3(encoder);
    context->sample_rate = 48000;
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->bit_rate = 64000 * channels;
    context->time_base = {1, 48000};
    av_channel_layout_default(&context->ch_layout, channels);
    EXPECT_EQ(avcodec_open2(context, encoder, nullptr), 0);
    AVFrame* frame = av_frame_alloc();
    frame->format = context->sample_fmt;
    frame->nb_samples = context->frame_size;
    av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
    EXPECT_EQ(av_frame_get_buffer(frame, 0), 0);
    AVPacket* packet = av_packet_alloc();
    std::vector<std::string> result;
    for (int64_t at = 0; result.size() < static_cast<size_t>(packets);) {
        av_frame_make_writable(frame);
        for (int i = 0; i < frame->nb_samples; ++i, ++at) {
            for (int channel = 0; channel < channels; ++channel) {
                const double phase = static_cast<double>(at) * (channel + 1) / 48;
                reinterpret_cast<float*>(frame->extended_data[channel])[i] =
                    static_cast<float>(0.25 * std::sin(phase));
            }
        }
        EXPECT_EQ(avcodec_send_frame(context, frame), 0);
        while (avcodec_receive_packet(context, packet) == 0) {
            result.emplace_back(reinterpret_cast<char*>(packet->data),
                                static_cast<size_t>(packet->size));
            av_packet_unref(packet);
        }
    }
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&context);
    return result;
}
