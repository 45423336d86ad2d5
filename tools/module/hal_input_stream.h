// An open input stream of the module. An operation that the module leaves null is answered by a
// neutral value or -ENOSYS, never called.
//
// One thread. The device outlives the stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tools/module/hal_module.h"

class hal_input_stream {
  public:
    // A stream of 16-bit samples from the microphone. Null and a negative status when the module
    // refuses, else a stream and 0.
    static std::unique_ptr<hal_input_stream> open(const hal_device& device, uint32_t rate_hz,
                                                  audio_channel_mask_t mask, int& status);
    // Closes it, with the standby that is part of closing.
    ~hal_input_stream();
    hal_input_stream(const hal_input_stream&) = delete;
    hal_input_stream& operator=(const hal_input_stream&) = delete;

    uint32_t sample_rate_hz() const;
    size_t buffer_bytes() const;
    audio_channel_mask_t channel_mask() const;
    audio_format_t format() const;

    // Bytes given, or a negative errno.
    ssize_t read(void* data, size_t bytes);

    // Since the last question, as far as the module counts them.
    uint32_t frames_lost();

  private:
    hal_input_stream(const hal_device& device, audio_stream_in* stream)
        : device_(device), stream_(stream) {}

    const hal_device& device_;
    audio_stream_in* stream_;
};
