#include <errno.h>

#include "diag/log.h"
#include "diag/relaxed.h"
#include "hal/arguments.h"
#include "hal/out_backend.h"
#include "hal/out_operations.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}  // namespace

uint32_t out_get_sample_rate(const struct audio_stream* stream) {
    if (any_null(__func__, stream)) {
        return 0;
    }
    const uint32_t rate_hz = load_relaxed(to_hal_stream_out(stream)->sample_rate);
    HAL_LOGV("%s: %d", __func__, static_cast<int>(rate_hz));
    return rate_hz;
}

int out_set_sample_rate(struct audio_stream* stream, uint32_t rate) {
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    HAL_LOGV("%s: %d", __func__, static_cast<int>(rate));
    store_relaxed(to_hal_stream_out(stream)->sample_rate, rate);
    return 0;
}

size_t out_get_buffer_size(const struct audio_stream* stream) {
    if (any_null(__func__, stream)) {
        return 0;
    }
    hal_stream_out* const out = to_hal_stream_out(stream);
    const out_backend* const backend = out_backend_of(out);
    int32_t size_bytes = 0;
    if (backend != nullptr) {
        size_bytes = backend->get_buffer_size(out);
    } else {
        HAL_LOGE("%s:Invalid usecase %u", __func__, static_cast<unsigned>(out->usecase));
    }
    HAL_LOGD("%s: %d", __func__, size_bytes);
    return static_cast<size_t>(size_bytes);
}

audio_channel_mask_t out_get_channels(const struct audio_stream* stream) {
    if (any_null(__func__, stream)) {
        return AUDIO_CHANNEL_NONE;
    }
    const audio_channel_mask_t mask = to_hal_stream_out(stream)->channel_mask;
    HAL_LOGD("%s: %x", __func__, mask);
    return mask;
}

audio_format_t out_get_format(const struct audio_stream* stream) {
    if (any_null(__func__, stream)) {
        return AUDIO_FORMAT_INVALID;
    }
    const audio_format_t format = load_relaxed(to_hal_stream_out(stream)->format);
    HAL_LOGD("%s: %d", __func__, static_cast<int>(format));
    return format;
}

int out_set_format(struct audio_stream* stream, audio_format_t format) {
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    HAL_LOGD("%s: %d", __func__, static_cast<int>(format));
    store_relaxed(to_hal_stream_out(stream)->format, format);
    return 0;
}

uint32_t out_get_latency(const struct audio_stream_out* stream) {
    if (any_null(__func__, stream)) {
        return UINT32_MAX;
    }
    hal_stream_out* const out = to_hal_stream_out(stream);
    const out_backend* const backend = out_backend_of(out);
    if (backend == nullptr) {
        HAL_LOGE("%s:Invalid usecase %d", __func__, static_cast<int>(out->usecase));
        return UINT32_MAX;
    }
    return static_cast<uint32_t>(backend->get_latency(out));
}

int out_dump(const struct audio_stream* stream, int /*fd*/) {
    return accept_and_ignore(__func__, stream);
}

int out_add_audio_effect(const struct audio_stream* stream, effect_handle_t /*effect*/) {
    return accept_and_ignore(__func__, stream);
}

int out_remove_audio_effect(const struct audio_stream* stream, effect_handle_t /*effect*/) {
    return accept_and_ignore(__func__, stream);
}

int out_set_volume(struct audio_stream_out* stream, float /*left*/, float /*right*/) {
    return any_null(__func__, stream) ? -EINVAL : 0;
}
