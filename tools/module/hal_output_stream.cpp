#include "tools/module/hal_output_stream.h"

#include <cerrno>
#include <cstdlib>

std::unique_ptr<hal_output_stream> hal_output_stream::open(const hal_device& device,
                                                           const output_request& request,
                                                           int& status) {
    // The audio server numbers its streams; the module may use the number to tell them apart.
    static audio_io_handle_t next_handle = 1;

    audio_hw_device& table = device.table();
    if (table.open_output_stream == nullptr) {
        status = -ENOSYS;
        return nullptr;
    }
    audio_config config{};
    config.sample_rate = request.sample_rate_hz;
    config.channel_mask = request.channel_mask;
    config.format = request.format;
    audio_stream_out* stream = nullptr;
    status = table.open_output_stream(&table, next_handle++, request.devices, request.flags,
                                      &config, &stream, "");
    if (status == 0 && stream == nullptr) {
        status = -ENODEV;
    }
    return status == 0 ? std::unique_ptr<hal_output_stream>(new hal_output_stream(device, stream))
                       : nullptr;
}

hal_output_stream::~hal_output_stream() {
    standby();
    audio_hw_device& table = device_.table();
    if (table.close_output_stream != nullptr) {
        table.close_output_stream(&table, stream_);
    }
}

uint32_t hal_output_stream::sample_rate_hz() const {
    const audio_stream& common = stream_->common;
    return common.get_sample_rate != nullptr ? common.get_sample_rate(&common) : 0;
}

size_t hal_output_stream::buffer_bytes() const {
    const audio_stream& common = stream_->common;
    return common.get_buffer_size != nullptr ? common.get_buffer_size(&common) : 0;
}

uint32_t hal_output_stream::latency_ms() const {
    return stream_->get_latency != nullptr ? stream_->get_latency(stream_) : 0;
}

audio_channel_mask_t hal_output_stream::channel_mask() const {
    const audio_stream& common = stream_->common;
    return common.get_channels != nullptr ? common.get_channels(&common) : AUDIO_CHANNEL_NONE;
}

audio_format_t hal_output_stream::format() const {
    const audio_stream& common = stream_->common;
    return common.get_format != nullptr ? common.get_format(&common) : AUDIO_FORMAT_DEFAULT;
}

ssize_t hal_output_stream::write(const void* data, size_t bytes) {
    return stream_->write != nullptr ? stream_->write(stream_, data, bytes) : -ENOSYS;
}

int hal_output_stream::standby() {
    audio_stream& common = stream_->common;
    return common.standby != nullptr ? common.standby(&common) : -ENOSYS;
}

int hal_output_stream::control(int (*operation)(audio_stream_out*)) {
    return operation != nullptr ? operation(stream_) : -ENOSYS;
}

int hal_output_stream::pause() {
    return control(stream_->pause);
}

int hal_output_stream::resume() {
    return control(stream_->resume);
}

int hal_output_stream::flush() {
    return control(stream_->flush);
}

std::optional<uint64_t> hal_output_stream::presented_frames() const {
    uint64_t frames = 0;
    timespec when{};
    if (stream_->get_presentation_position == nullptr ||
        stream_->get_presentation_position(stream_, &frames, &when) != 0) {
        return std::nullopt;
    }
    return frames;
}

std::optional<uint32_t> hal_output_stream::rendered_frames() const {
    uint32_t frames = 0;
    if (stream_->get_render_position == nullptr ||
        stream_->get_render_position(stream_, &frames) != 0) {
        return std::nullopt;
    }
    return frames;
}

std::string hal_output_stream::parameters(const char* keys) const {
    const audio_stream& common = stream_->common;
    if (common.get_parameters == nullptr) {
        return {};
    }
    const std::unique_ptr<char, void (*)(void*)> reply(common.get_parameters(&common, keys), free);
    return reply != nullptr ? reply.get() : "";
}
