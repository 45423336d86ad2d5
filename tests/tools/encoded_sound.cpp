#include "tests/tools/encoded_sound.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
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

std::vector<int16_t> decode(const std::string& codec, const std::vector<std::string>& packets) {
    const AVCodec* decoder = avcodec_find_decoder_by_name(codec.c_str());
    AVCodecContext* context = avcodec_alloc_context3(decoder);
    EXPECT_EQ(avcodec_open2(context, decoder, nullptr), 0);
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    SwrContext* converter = nullptr;
    std::vector<int16_t> samples;
    for (const std::string& bytes : packets) {
        EXPECT_EQ(av_new_packet(packet, static_cast<int>(bytes.size())), 0);
        std::copy(bytes.begin(), bytes.end(), packet->data);
        EXPECT_EQ(avcodec_send_packet(context, packet), 0);
        av_packet_unref(packet);
        while (avcodec_receive_frame(context, frame) == 0) {
            if (converter == nullptr) {
                swr_alloc_set_opts2(&converter, &frame->ch_layout, AV_SAMPLE_FMT_S16,
                                    frame->sample_rate, &frame->ch_layout,
                                    static_cast<AVSampleFormat>(frame->format), frame->sample_rate,
                                    0, nullptr);
                EXPECT_EQ(swr_init(converter), 0);
            }
            const size_t before = samples.size();
            samples.resize(before +
                           static_cast<size_t>(frame->nb_samples * frame->ch_layout.nb_channels));
            auto* out = reinterpret_cast<uint8_t*>(samples.data() + before);
            EXPECT_EQ(
                swr_convert(converter, &out, frame->nb_samples,
                            const_cast<const uint8_t**>(frame->extended_data), frame->nb_samples),
                frame->nb_samples);
        }
    }
    swr_free(&converter);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&context);
    return samples;
}

void mux(const std::string& path, const std::string& codec, int channels,
         const std::vector<std::string>& packets, int lead_samples) {
    AVFormatContext* context = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, nullptr, path.c_str()), 0);
    AVStream* stream = avformat_new_stream(context, nullptr);
    stream->time_base = {1, 48000};
    AVCodecParameters& parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_AUDIO;
    parameters.codec_id = avcodec_find_encoder_by_name(codec.c_str())->id;
    parameters.sample_rate = 48000;
    parameters.frame_size = 1536;
    parameters.initial_padding = lead_samples;
    av_channel_layout_default(&parameters.ch_layout, channels);
    ASSERT_GE(avio_open(&context->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
    ASSERT_GE(avformat_write_header(context, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    int64_t pts = -lead_samples;
    for (const std::string& bytes : packets) {
        ASSERT_EQ(av_new_packet(packet, static_cast<int>(bytes.size())), 0);
        std::copy(bytes.begin(), bytes.end(), packet->data);
        packet->pts = packet->dts = pts;
        packet->duration = 1536;
        packet->flags = AV_PKT_FLAG_KEY;
        av_packet_rescale_ts(packet, {1, 48000}, stream->time_base);
        ASSERT_EQ(av_interleaved_write_frame(context, packet), 0);
        pts += 1536;
    }
    ASSERT_EQ(av_write_trailer(context), 0);
    av_packet_free(&packet);
    avio_closep(&context->pb);
    avformat_free_context(context);
}
