#include "tests/tools/encoded_sound.h"

#include <algorithm>
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

std::vector<std::string> packets_of(codec which, unsigned channels, size_t packets) {
    std::vector<std::string> result;
    for (const encoded_frame& frame : encode(which, {channels, 48000}, packets)) {
        result.emplace_back(frame.bytes.begin(), frame.bytes.end());
    }
    return result;
}

void mux(const std::string& path, codec which, int channels,
         const std::vector<std::string>& packets, int lead_samples) {
    AVFormatContext* context = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, nullptr, path.c_str()), 0);
    AVStream* stream = avformat_new_stream(context, nullptr);
    stream->time_base = {1, 48000};
    AVCodecParameters& parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_AUDIO;
    parameters.codec_id = which == codec::ac3 ? AV_CODEC_ID_AC3 : AV_CODEC_ID_EAC3;
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
