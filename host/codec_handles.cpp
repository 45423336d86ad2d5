#include "host/codec_handles.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

void codec_closer::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void codec_closer::operator()(AVCodecParserContext* parser) const {
    av_parser_close(parser);
}

void codec_closer::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void codec_closer::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}
