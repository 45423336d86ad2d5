#include "tools/module/hal_stream.h"

#include <cstdlib>

namespace {

constexpr size_t max_buffer_bytes = 16U << 20;

audio_config config_of(const stream_kind& kind) {
    audio_config config{};
    config.sample_rate = kind.sample_rate_hz;
    config.channel_mask = kind.channel_mask;
    config.format = kind.format;
    return config;
}

}  // namespace

std::string hal_stream::parameters(const char* keys) const {
    char* const nothing = nullptr;
    const std::unique_ptr<char, void (*)(void*)> reply(
        call(nothing, common_.get_parameters, &common_, keys), free);
    return reply != nullptr ? reply.get() : "";
}

size_t hal_stream::buffer_frames(size_t frame_bytes) const {
    const size_t bytes = buffer_bytes();
    if (frame_bytes == 0 || bytes < frame_bytes || bytes > max_buffer_bytes) {
        throw program_error("the stream asks for buffers of " + std::to_string(bytes) +
                            " bytes, which cannot be right; see the module's log with -vv");
    }
    return bytes / frame_bytes;
}

void hal_stream::require_kind(const stream_kind& asked) const {
    if (format() != asked.format || sample_rate_hz() != asked.sample_rate_hz ||
        channels() != count_channels_(asked.channel_mask)) {
        throw program_error(
            "the module opened a stream of another kind than asked for; see what it "
            "offers with 'corvex-hal info'");
    }
}

std::unique_ptr<hal_output_stream> hal_output_stream::open(const hal_device& device,
                                                           const stream_kind& kind,
                                                           audio_output_flags_t flags,
                                                           int& status) {
    // The audio server numbers its streams; the module may use the number to tell them apart.
    static audio_io_handle_t next_handle = 1;

    audio_hw_device& table = device.table();
    audio_config config = config_of(kind);
    audio_stream_out* stream = nullptr;
    status = call(-ENOSYS, table.open_output_stream, &table, next_handle++,
                  audio_devices_t{AUDIO_DEVICE_OUT_SPEAKER}, flags, &config, &stream, "");
    if (status == 0 && stream == nullptr) {
        status = -ENODEV;
    }
    return std::unique_ptr<hal_output_stream>(status == 0 ? new hal_output_stream(device, stream)
                                                          : nullptr);
}

hal_output_stream::~hal_output_stream() {
    standby();
    audio_hw_device& table = device_.table();
    if (table.close_output_stream != nullptr) {
        table.close_output_stream(&table, stream_);
    }
}

std::optional<uint64_t> hal_output_stream::presented_frames() const {
    uint64_t frames = 0;
    timespec when{};
    const int status = call(-ENOSYS, stream_->get_presentation_position, stream_, &frames, &when);
    return status == 0 ? std::optional(frames) : std::nullopt;
}

std::optional<uint32_t> hal_output_stream::rendered_frames() const {
    uint32_t frames = 0;
    const int status = call(-ENOSYS, stream_->get_render_position, stream_, &frames);
    return status == 0 ? std::optional(frames) : std::nullopt;
}

std::unique_ptr<hal_input_stream> hal_input_stream::open(const hal_device& device,
                                                         const stream_kind& kind, int& status) {
    // Behind the numbers of output streams.
    static audio_io_handle_t next_handle = 1000;

    audio_hw_device& table = device.table();
    audio_config config = config_of(kind);
    audio_stream_in* stream = nullptr;
    status = call(-ENOSYS, table.open_input_stream, &table, next_handle++,
                  audio_devices_t{AUDIO_DEVICE_IN_BUILTIN_MIC}, &config, &stream,
                  AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC);
    if (status == 0 && stream == nullptr) {
        status = -ENODEV;
    }
    return std::unique_ptr<hal_input_stream>(status == 0 ? new hal_input_stream(device, stream)
                                                         : nullptr);
}

hal_input_stream::~hal_input_stream() {
    audio_hw_device& table = device_.table();
    if (table.close_input_stream != nullptr) {
        table.close_input_stream(&table, stream_);
    }
}

program_error refused_stream(const std::string& what, int status, const log_lines& log,
                             const std::string& advice) {
    return program_error("the module refuses " + what + ": " + status_text(status) +
                         module_reason(log) + "; " + advice + "see its log with -v");
}
