#include "tools/module/hal_stream.h"

#include <cerrno>
#include <cstdlib>

namespace {

constexpr size_t max_buffer_bytes = 16U << 20;

// An operation's answer, or `otherwise` where the module leaves it null.
template <typename Answer, typename... Parameters, typename... Arguments>
Answer call(Answer otherwise, Answer (*operation)(Parameters...), Arguments... arguments) {
    return operation != nullptr ? operation(arguments...) : otherwise;
}

audio_config config_of(const stream_kind& kind) {
    audio_config config{};
    config.sample_rate = kind.sample_rate_hz;
    config.channel_mask = kind.channel_mask;
    config.format = kind.format;
    return config;
}

}  // namespace

uint32_t hal_stream::sample_rate_hz() const {
    return call(uint32_t{0}, common_.get_sample_rate, &common_);
}

size_t hal_stream::buffer_bytes() const {
    return call(size_t{0}, common_.get_buffer_size, &common_);
}

audio_channel_mask_t hal_stream::channel_mask() const {
    return call(audio_channel_mask_t{AUDIO_CHANNEL_NONE}, common_.get_channels, &common_);
}

audio_format_t hal_stream::format() const {
    return call(AUDIO_FORMAT_DEFAULT, common_.get_format, &common_);
}

std::string hal_stream::parameters(const char* keys) const {
    char* const nothing = nullptr;
    const std::unique_ptr<char, void (*)(void*)> reply(
        call(nothing, common_.get_parameters, &common_, keys), free);
    return reply != nullptr ? reply.get() : "";
}

size_t hal_stream::buffer_frames(size_t frame_bytes) const {
    const size_t bytes = buffer_bytes();
    if (bytes < frame_bytes || bytes > max_buffer_bytes) {
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

uint32_t hal_output_stream::latency_ms() const {
    return call(uint32_t{0}, stream_->get_latency, stream_);
}

ssize_t hal_output_stream::write(const void* data, size_t bytes) {
    return call(ssize_t{-ENOSYS}, stream_->write, stream_, data, bytes);
}

int hal_output_stream::standby() {
    return call(-ENOSYS, common_.standby, &common_);
}

int hal_output_stream::pause() {
    return call(-ENOSYS, stream_->pause, stream_);
}

int hal_output_stream::resume() {
    return call(-ENOSYS, stream_->resume, stream_);
}

int hal_output_stream::flush() {
    return call(-ENOSYS, stream_->flush, stream_);
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

ssize_t hal_input_stream::read(void* data, size_t bytes) {
    return call(ssize_t{-ENOSYS}, stream_->read, stream_, data, bytes);
}

uint32_t hal_input_stream::frames_lost() {
    return call(uint32_t{0}, stream_->get_input_frames_lost, stream_);
}

program_error refused_stream(const std::string& what, int status, const log_lines& log,
                             const std::string& advice) {
    return program_error("the module refuses " + what + ": " + status_text(status) +
                         module_reason(log) + "; " + advice + "see its log with -v");
}
