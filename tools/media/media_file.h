// The sound of a media file: the packets of its best audio stream, out of any container that FFmpeg
// reads. Playlists may name other local files; nothing is fetched.
//
// One thread. Every failure is a program_error that names the file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/codec_handles.h"

struct AVFormatContext;
struct AVStream;

// What FFmpeg's code means, for a person.
std::string media_error_text(int code);

// FFmpeg's own messages go to standard error, or nowhere. For the whole process.
void show_media_messages(bool shown);

class media_file {
  public:
    explicit media_file(const std::string& path);
    ~media_file();
    media_file(const media_file&) = delete;
    media_file& operator=(const media_file&) = delete;

    const std::string& path() const { return path_; }
    const AVStream& stream() const { return *stream_; }
    uint32_t rate_hz() const;
    unsigned channels() const;
    // As the container says; empty when it does not.
    std::optional<double> duration_s() const;

    // The next packet, which stays this object's and is good until the next call; null at the end.
    const AVPacket* read();

    // Continues with the packet that holds what is to be heard `time_s` after the file's beginning.
    void seek(double time_s);

    // When a packet or frame is to be heard; empty for FFmpeg's "no timestamp".
    std::optional<int64_t> to_ns(int64_t timestamp) const;

  private:
    struct closer {
        void operator()(AVFormatContext* context) const;
    };

    bool ends_before_target() const;

    std::string path_;
    std::unique_ptr<AVFormatContext, closer> context_;
    codec_handle<AVPacket> packet_;
    AVStream* stream_ = nullptr;
    std::optional<int64_t> seek_target_;  // in the stream's time base, until a packet reaches it
};
