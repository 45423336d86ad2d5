#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "hal/arguments.h"
#include "hal/channel_mask.h"
#include "hal/in_operations.h"
#include "hal/stream_frame_size.h"
#include "records/stream_in.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

uint32_t in_get_sample_rate(const struct audio_stream* stream) {
    trace_call(log_tag, __func__);
    return any_null(__func__, stream) ? 0 : load_relaxed(to_hal_stream_in(stream)->sample_rate);
}

int in_set_sample_rate(struct audio_stream* stream, uint32_t rate) {
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    HAL_LOGV("in(%p) set_sample_rate: %u", static_cast<void*>(stream), rate);
    store_relaxed(to_hal_stream_in(stream)->sample_rate, rate);
    return 0;
}

size_t in_get_buffer_size(const struct audio_stream* stream) {
    if (any_null(__func__, stream)) {
        return 0;
    }
    const size_t size_bytes = to_hal_stream_in(stream)->config.period_size *
                              stream_frame_size(stream, channel_count_from_in_mask);
    HAL_LOGD("%s: in(%p) %d", __func__, static_cast<const void*>(stream),
             static_cast<int>(size_bytes));
    return size_bytes;
}

audio_channel_mask_t in_get_channels(const struct audio_stream* stream) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return AUDIO_CHANNEL_NONE;
    }
    const audio_channel_mask_t mask = to_hal_stream_in(stream)->channel_mask;
    HAL_LOGD("%s: in(%p) 0x%x", __func__, static_cast<const void*>(stream), mask);
    return mask;
}

audio_format_t in_get_format(const struct audio_stream* stream) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return AUDIO_FORMAT_INVALID;
    }
    const audio_format_t format = load_relaxed(to_hal_stream_in(stream)->format);
    HAL_LOGD("%s: in(%p) 0x%x", __func__, static_cast<const void*>(stream),
             static_cast<unsigned>(format));
    return format;
}

int in_set_format(struct audio_stream* stream, audio_format_t format) {
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    hal_stream_in* const in = to_hal_stream_in(stream);
    HAL_LOGD("%s: in(%p) 0x%x", __func__, static_cast<void*>(stream),
             static_cast<unsigned>(load_relaxed(in->format)));  // the one that it had
    store_relaxed(in->format, format);
    return 0;
}

int in_dump(const struct audio_stream* stream, int /*fd*/) {
    return accept_and_ignore(__func__, stream);
}

int in_add_audio_effect(const struct audio_stream* stream, effect_handle_t /*effect*/) {
    return accept_and_ignore(__func__, stream);
}

int in_remove_audio_effect(const struct audio_stream* stream, effect_handle_t /*effect*/) {
    return accept_and_ignore(__func__, stream);
}

int in_set_gain(struct audio_stream_in* stream, float gain) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    HAL_LOGD("%s: in(%p) Gain:%f", __func__, static_cast<void*>(stream), static_cast<double>(gain));
    return 0;
}

uint32_t in_get_input_frames_lost(struct audio_stream_in* stream) {
    accept_and_ignore(__func__, stream);
    return 0;
}

int in_getCapturePosition(const struct audio_stream_in* stream, int64_t* /*frames*/,
                          int64_t* /*time*/) {
    return any_null(__func__, stream) ? -EINVAL : -ENOSYS;
}

int in_start(const struct audio_stream_in* stream) {
    const int error = accept_and_ignore(__func__, stream);
    return error != 0 ? error : -ENOSYS;
}

int in_stop(const struct audio_stream_in* stream) {
    const int error = accept_and_ignore(__func__, stream);
    return error != 0 ? error : -ENOSYS;
}
