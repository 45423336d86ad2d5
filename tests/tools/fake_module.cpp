// An audio module without audio: records calls and misbehaves as scripted. See fake_script.h.

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <android/log.h>
#include <hardware/audio.h>

#include "tests/tools/fake_script.h"

namespace {

struct fake_stream {
    audio_stream_out table;
    audio_config asked;
    uint64_t frames_written;
    uint64_t frames_played;
    int writes;
};

fake_stream* of(const audio_stream* common) {
    return reinterpret_cast<fake_stream*>(const_cast<audio_stream*>(common));
}

fake_stream* of(const audio_stream_out* table) {
    return reinterpret_cast<fake_stream*>(const_cast<audio_stream_out*>(table));
}

uint32_t get_sample_rate(const audio_stream* stream) {
    return static_cast<uint32_t>(scripted_number("rate", of(stream)->asked.sample_rate));
}

audio_channel_mask_t get_channels(const audio_stream* stream) {
    return static_cast<uint32_t>(scripted_number("mask", of(stream)->asked.channel_mask));
}

audio_format_t get_format(const audio_stream* stream) {
    return static_cast<audio_format_t>(scripted_number("format", of(stream)->asked.format));
}

size_t get_buffer_size(const audio_stream* stream) {
    const uint32_t channels = audio_channel_count_from_out_mask(of(stream)->asked.channel_mask);
    return static_cast<size_t>(scripted_number("buffer", 480 * 2 * channels));
}

int standby(audio_stream*) {
    record_call("standby");
    return 0;
}

uint32_t get_latency(const audio_stream_out*) {
    return 20;
}

ssize_t write_pcm(audio_stream_out* table, const void* data, size_t bytes) {
    fake_stream& stream = *of(table);
    record_call("write " + std::to_string(bytes));
    pass_gate();
    if (++stream.writes == scripted_number("log_at", 1) && !scripted("log", "").empty()) {
        __android_log_write(ANDROID_LOG_ERROR, "fake", scripted("log", "").c_str());
    }
    const size_t frame_bytes = audio_stream_out_frame_size(table);
    const std::string behaviour = scripted("write", "");
    if (behaviour == "zero") {
        return 0;
    }
    if (behaviour == "fail") {
        return -EIO;
    }
    if (behaviour == "half" && bytes / frame_bytes > 1) {
        bytes = bytes / frame_bytes / 2 * frame_bytes;
    }
    record_pcm(data, bytes);
    stream.frames_written += bytes / frame_bytes;
    // A write returns once no more than the card's buffer is queued.
    const uint64_t buffer_frames = 960;
    if (stream.frames_written > buffer_frames) {
        stream.frames_played =
            std::max(stream.frames_played, stream.frames_written - buffer_frames);
    }
    return static_cast<ssize_t>(bytes);
}

int get_presentation_position(const audio_stream_out* table, uint64_t* frames, timespec* when) {
    fake_stream& stream = *of(table);
    clock_gettime(CLOCK_MONOTONIC, when);
    const std::string behaviour = scripted("position", "all");
    if (behaviour == "fail") {
        return -ENOSYS;
    }
    if (behaviour == "zero") {
        *frames = 0;
    } else if (behaviour == "stall") {
        *frames = std::min<uint64_t>(stream.frames_written, 4800);
    } else if (behaviour == "card") {
        const bool started = stream.frames_written >= 240;
        stream.frames_played += started ? 50 : 0;
        *frames = stream.frames_played <= stream.frames_written ? stream.frames_played : 0;
    } else {
        *frames = stream.frames_written;
    }
    return 0;
}

int open_output_stream(audio_hw_device*, audio_io_handle_t, audio_devices_t devices,
                       audio_output_flags_t flags, audio_config* config,
                       audio_stream_out** stream_out, const char*) {
    record_call("open_output_stream " + std::to_string(config->sample_rate) + " " +
                std::to_string(config->channel_mask) + " " + std::to_string(config->format) + " " +
                std::to_string(devices) + " " + std::to_string(flags));
    *stream_out = nullptr;
    const auto status = static_cast<int>(scripted_number("open_stream", 0));
    if (status != 0) {
        return status;
    }
    auto* stream = new fake_stream{};
    stream->asked = *config;
    if (scripted_number("bare", 0) == 0) {
        stream->table.common.get_sample_rate = get_sample_rate;
        stream->table.common.get_channels = get_channels;
        stream->table.common.get_format = get_format;
        stream->table.common.get_buffer_size = get_buffer_size;
        stream->table.common.standby = standby;
        stream->table.get_latency = get_latency;
        stream->table.write = write_pcm;
        stream->table.get_presentation_position = get_presentation_position;
    }
    *stream_out = &stream->table;
    return 0;
}

void close_output_stream(audio_hw_device*, audio_stream_out* stream) {
    record_call("close_output_stream");
    delete of(stream);
}

int close_device(hw_device_t* device) {
    record_call("close_device");
    delete reinterpret_cast<audio_hw_device*>(device);
    return 0;
}

int open_device(const hw_module_t* module, const char* name, hw_device_t** device_out) {
    record_call(std::string("open ") + name);
    if (!scripted("open_log", "").empty()) {
        __android_log_write(ANDROID_LOG_ERROR, "fake", scripted("open_log", "").c_str());
    }
    const auto status = static_cast<int>(scripted_number("open_device", 0));
    if (status != 0) {
        return status;
    }
    auto* device = new audio_hw_device{};
    device->common.tag = HARDWARE_DEVICE_TAG;
    device->common.version = AUDIO_DEVICE_API_VERSION_2_0;
    device->common.module = const_cast<hw_module_t*>(module);
    device->common.close = close_device;
    device->open_output_stream = open_output_stream;
    device->close_output_stream = close_output_stream;
    *device_out = &device->common;
    return 0;
}

hw_module_methods_t methods = {open_device};

}  // namespace

extern "C" __attribute__((visibility("default"))) hw_module_t HAL_MODULE_INFO_SYM;
hw_module_t HAL_MODULE_INFO_SYM = {HARDWARE_MODULE_TAG,
                                   AUDIO_MODULE_API_VERSION_0_1,
                                   HARDWARE_HAL_API_VERSION,
                                   AUDIO_HARDWARE_MODULE_ID,
                                   "fake audio module",
                                   "the tests",
                                   &methods,
                                   nullptr,
                                   {}};
