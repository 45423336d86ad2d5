// An open stream of the module, of either direction. An operation that the module leaves null is
// answered by a neutral value or -ENOSYS, never called.
//
// One thread. The device outlives the stream.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/program_error.h"
#include "tools/module/hal_module.h"
#include "tools/terminal/log_lines.h"

struct stream_kind {
    uint32_t sample_rate_hz;
    audio_channel_mask_t channel_mask;
    audio_format_t format = AUDIO_FORMAT_PCM_16_BIT;
};

// What streams of both directions answer.
class hal_stream {
  public:
    hal_stream(const hal_stream&) = delete;
    hal_stream& operator=(const hal_stream&) = delete;

    uint32_t sample_rate_hz() const { return call(0U, common_.get_sample_rate, &common_); }
    size_t buffer_bytes() const { return call(size_t{0}, common_.get_buffer_size, &common_); }
    audio_channel_mask_t channel_mask() const { return call(0U, common_.get_channels, &common_); }
    unsigned channels() const { return count_channels_(channel_mask()); }
    audio_format_t format() const {
        return call(AUDIO_FORMAT_DEFAULT, common_.get_format, &common_);
    }

    // The reply text, or empty when there is none.
    std::string parameters(const char* keys) const;

    // Whole frames of so many bytes in a buffer. Throws program_error for a buffer that holds none,
    // or far too many.
    size_t buffer_frames(size_t frame_bytes) const;

    // Throws program_error when the module has opened another kind of stream than was asked for.
    void require_kind(const stream_kind& asked) const;

  protected:
    using channel_counter = uint32_t (*)(audio_channel_mask_t);

    hal_stream(const hal_device& device, audio_stream& common, channel_counter count)
        : device_(device), common_(common), count_channels_(count) {}
    ~hal_stream() = default;

    // An operation's answer, or `otherwise` where the module leaves it null.
    template <typename Answer, typename... Parameters, typename... Arguments>
    static Answer call(Answer otherwise, Answer (*operation)(Parameters...),
                       Arguments... arguments) {
        return operation != nullptr ? operation(arguments...) : otherwise;
    }

    const hal_device& device_;
    audio_stream& common_;

  private:
    const channel_counter count_channels_;
};

class hal_output_stream : public hal_stream {
  public:
    // Null and a negative status when the module refuses, else a stream and 0.
    static std::unique_ptr<hal_output_stream> open(const hal_device& device,
                                                   const stream_kind& kind,
                                                   audio_output_flags_t flags, int& status);
    ~hal_output_stream();  // standby, then close

    uint32_t latency_ms() const { return call(0U, stream_->get_latency, stream_); }

    // Bytes taken, or a negative errno.
    ssize_t write(const void* data, size_t bytes) {
        return call(ssize_t{-ENOSYS}, stream_->write, stream_, data, bytes);
    }
    int standby() { return call(-ENOSYS, common_.standby, &common_); }

    // 0 or a status. Absent on streams that are not direct: -ENOSYS.
    int pause() { return call(-ENOSYS, stream_->pause, stream_); }
    int resume() { return call(-ENOSYS, stream_->resume, stream_); }
    int flush() { return call(-ENOSYS, stream_->flush, stream_); }

    // Frames the listener has heard; empty when the stream cannot say.
    std::optional<uint64_t> presented_frames() const;

    // The low 32 bits of the same count, as the stream's other query gives them.
    std::optional<uint32_t> rendered_frames() const;

    const audio_stream_out& table() const { return *stream_; }

  private:
    hal_output_stream(const hal_device& device, audio_stream_out* stream)
        : hal_stream(device, stream->common, audio_channel_count_from_out_mask), stream_(stream) {}

    audio_stream_out* stream_;
};

class hal_input_stream : public hal_stream {
  public:
    // From the microphone. Null and a negative status when the module refuses, else a stream and 0.
    static std::unique_ptr<hal_input_stream> open(const hal_device& device, const stream_kind& kind,
                                                  int& status);
    ~hal_input_stream();  // close, of which standby is a part

    // Bytes given, or a negative errno.
    ssize_t read(void* data, size_t bytes) {
        return call(ssize_t{-ENOSYS}, stream_->read, stream_, data, bytes);
    }

    // Since the last question, as far as the module counts them.
    uint32_t frames_lost() { return call(0U, stream_->get_input_frames_lost, stream_); }

  private:
    hal_input_stream(const hal_device& device, audio_stream_in* stream)
        : hal_stream(device, stream->common, audio_channel_count_from_in_mask), stream_(stream) {}

    audio_stream_in* stream_;
};

// The error for a module that refuses `what`, such as "a direct stream", with the first reason in
// its log. `advice` comes ahead of where to look for more: "use another card, or ".
program_error refused_stream(const std::string& what, int status, const log_lines& log,
                             const std::string& advice = "");
