#include "tools/module/hal_input_stream.h"

#include <cerrno>

std::unique_ptr<hal_input_stream> hal_input_stream::open(const hal_device& device, uint32_t rate_hz,
                                                         audio_channel_mask_t mask, int& status) {
    // Behind the numbers of output streams.
    static audio_io_handle_t next_handle = 1000;

    audio_hw_device& table = device.table();
    if (table.open_input_stream == nullptr) {
        status = -ENOSYS;
        return nullptr;
    }
    audio_config config{};
    config.sample_rate = rate_hz;
    config.channel_mask = mask;
    config.format = AUDIO_FORMAT_PCM_16_BIT;
    audio_stream_in* stream = nullptr;
    status = table.open_input_stream(&table, next_handle++, AUDIO_DEVICE_IN_BUILTIN_MIC, &config,
                                     &stream, AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC);
    if (status == 0 && stream == nullptr) {
        status = -ENODEV;
    }
    return status == 0 ? std::unique_ptr<hal_input_stream>(new hal_input_stream(device, stream))
                       : nullptr;
}

hal_input_stream::~hal_input_stream() {
    audio_hw_device& table = device_.table();
    if (table.close_input_stream != nullptr) {
        table.close_input_stream(&table, stream_);
    }
}

uint32_t hal_input_stream::sample_rate_hz() const {
    const audio_stream& common = stream_->common;
    return common.get_sample_rate != nullptr ? common.get_sample_rate(&common) : 0;
}

size_t hal_input_stream::buffer_bytes() const {
    const audio_stream& common = stream_->common;
    return common.get_buffer_size != nullptr ? common.get_buffer_size(&common) : 0;
}

audio_channel_mask_t hal_input_stream::channel_mask() const {
    const audio_stream& common = stream_->common;
    return common.get_channels != nullptr ? common.get_channels(&common) : AUDIO_CHANNEL_NONE;
}

audio_format_t hal_input_stream::format() const {
    const audio_stream& common = stream_->common;
    return common.get_format != nullptr ? common.get_format(&common) : AUDIO_FORMAT_DEFAULT;
}

ssize_t hal_input_stream::read(void* data, size_t bytes) {
    return stream_->read != nullptr ? stream_->read(stream_, data, bytes) : -ENOSYS;
}

uint32_t hal_input_stream::frames_lost() {
    return stream_->get_input_frames_lost != nullptr ? stream_->get_input_frames_lost(stream_) : 0;
}
