// Handles of libavcodec that free themselves.
#pragma once

#include <memory>

struct AVCodecContext;
struct AVCodecParserContext;
struct AVFrame;
struct AVPacket;

struct codec_closer {
    void operator()(AVCodecContext* context) const;
    void operator()(AVCodecParserContext* parser) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
};
template <typename Handle>
using codec_handle = std::unique_ptr<Handle, codec_closer>;
