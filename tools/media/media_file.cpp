#include "tools/media/media_file.h"

#include <cerrno>
#include <cmath>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "host/program_error.h"
#include "tools/media/input_file.h"

namespace {

constexpr int max_stream_channels = 8;
constexpr int min_rate_hz = 2000;
constexpr int max_rate_hz = 384000;
constexpr AVRational nanoseconds = {1, 1'000'000'000};

AVFormatContext* open_input(const std::string& path) {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVFormatContext* context = nullptr;
    // With its protocol, so that no part of a name is taken for one.
    const int result = avformat_open_input(&context, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (result == AVERROR(EACCES)) {
        throw program_error("cannot open '" + path + "': " + media_error_text(result) +
                            "; check its rights");
    }
    if (result < 0) {
        throw program_error("cannot read '" + path + "' as media: " + media_error_text(result) +
                            "; give a file that FFmpeg reads, such as AC-3, Matroska, MP4 or WAV");
    }
    return context;
}

}  // namespace

std::string media_error_text(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(code, text, sizeof(text));
    return text;
}

void show_media_messages(bool shown) {
    av_log_set_level(shown ? AV_LOG_WARNING : AV_LOG_QUIET);
}

void media_file::closer::operator()(AVFormatContext* context) const {
    avformat_close_input(&context);
}

media_file::media_file(const std::string& path) : path_(path) {
    require_readable_file(path);
    context_.reset(open_input(path));
    packet_.reset(av_packet_alloc());
    if (packet_ == nullptr) {
        throw std::bad_alloc();
    }
    int result = avformat_find_stream_info(context_.get(), nullptr);
    if (result >= 0) {
        result = av_find_best_stream(context_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    }
    if (result < 0) {
        throw program_error("'" + path + "' has no sound: " + media_error_text(result) +
                            "; name a file with an audio stream");
    }
    stream_ = context_->streams[result];
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        context_->streams[i]->discard =
            context_->streams[i] == stream_ ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    const int channels = stream_->codecpar->ch_layout.nb_channels;
    if (channels < 1 || channels > max_stream_channels) {
        throw program_error("'" + path + "' has " + std::to_string(channels) +
                            " channels; a stream takes 1 to " +
                            std::to_string(max_stream_channels));
    }
    const int rate_hz = stream_->codecpar->sample_rate;
    if (rate_hz < min_rate_hz || rate_hz > max_rate_hz) {
        throw program_error("'" + path + "' claims a rate of " + std::to_string(rate_hz) +
                            " Hz; it should be " + std::to_string(min_rate_hz) + " to " +
                            std::to_string(max_rate_hz) + ", so the header may be damaged");
    }
}

media_file::~media_file() = default;

uint32_t media_file::rate_hz() const {
    return static_cast<uint32_t>(stream_->codecpar->sample_rate);
}

unsigned media_file::channels() const {
    return static_cast<unsigned>(stream_->codecpar->ch_layout.nb_channels);
}

std::optional<double> media_file::duration_s() const {
    if (stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0) {
        return static_cast<double>(stream_->duration) * av_q2d(stream_->time_base);
    }
    if (context_->duration != AV_NOPTS_VALUE && context_->duration > 0) {
        return static_cast<double>(context_->duration) / AV_TIME_BASE;
    }
    return std::nullopt;
}

const AVPacket* media_file::read() {
    for (;;) {
        av_packet_unref(packet_.get());
        const int result = av_read_frame(context_.get(), packet_.get());
        if (result == AVERROR_EOF) {
            return nullptr;
        }
        if (result < 0) {
            throw program_error("'" + path_ + "' cannot be read on: " + media_error_text(result) +
                                "; what came before was sent");
        }
        if (packet_->stream_index == stream_->index && packet_->size > 0 && !ends_before_target()) {
            return packet_.get();
        }
    }
}

// Containers go to an index point, which may lie well before what was asked for.
bool media_file::ends_before_target() const {
    return seek_target_ && packet_->pts != AV_NOPTS_VALUE &&
           packet_->pts + packet_->duration <= *seek_target_;
}

void media_file::seek(double time_s) {
    const int64_t start = stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
    const int64_t target = start + std::llround(time_s / av_q2d(stream_->time_base));
    const int result = av_seek_frame(context_.get(), stream_->index, target, AVSEEK_FLAG_BACKWARD);
    if (result < 0) {
        throw program_error("cannot seek in '" + path_ + "': " + media_error_text(result) +
                            "; leave --seek-at out, or put the sound into Matroska or MP4");
    }
    seek_target_ = target;
}

std::optional<int64_t> media_file::to_ns(int64_t timestamp) const {
    if (timestamp == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    return av_rescale_q(timestamp, stream_->time_base, nanoseconds);
}
