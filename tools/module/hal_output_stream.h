// An open output stream of the module. An operation that the module leaves null is answered by a
// neutral value or -ENOSYS, never called.
//
// One thread. The device outlives the stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/module/hal_module.h"

struct output_request {
    uint32_t sample_rate_hz;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    audio_output_flags_t flags;
    audio_devices_t devices = AUDIO_DEVICE_OUT_SPEAKER;
};

class hal_output_stream {
  public:
    // Null and a negative status when the module refuses, else a stream and 0.
    static std::unique_ptr<hal_output_stream> open(const hal_device& device,
                                                   const output_request& request, int& status);
    ~hal_output_stream();  // standby, then close
    hal_output_stream(const hal_output_stream&) = delete;
    hal_output_stream& operator=(const hal_output_stream&) = delete;

    uint32_t sample_rate_hz() const;
    size_t buffer_bytes() const;
    uint32_t latency_ms() const;
    audio_channel_mask_t channel_mask() const;
    audio_format_t format() const;

    // Bytes taken, or a negative errno.
    ssize_t write(const void* data, size_t bytes);
    int standby();

    // 0 or a status. Absent on streams that are not direct: -ENOSYS.
    int pause();
    int resume();
    int flush();

    // Frames the listener has heard; empty when the stream cannot say.
    std::optional<uint64_t> presented_frames() const;

    // The low 32 bits of the same count, as the stream's other query gives them.
    std::optional<uint32_t> rendered_frames() const;

    // The reply text, or empty when there is none.
    std::string parameters(const char* keys) const;

    const audio_stream_out& table() const { return *stream_; }

  private:
    int control(int (*operation)(audio_stream_out*));

    hal_output_stream(const hal_device& device, audio_stream_out* stream)
        : device_(device), stream_(stream) {}

    const hal_device& device_;
    audio_stream_out* stream_;
};
