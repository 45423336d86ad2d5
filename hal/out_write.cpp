#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/lock.h"
#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/buffer_duration.h"
#include "hal/channel_mask.h"
#include "hal/out_backend.h"
#include "hal/out_operations.h"
#include "hal/stream_frame_size.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// Takes as long as the refused data would have played, so that the framework keeps its pace.
ssize_t sleep_instead_of_playing(hal_stream_out* out, size_t bytes) {
    HAL_LOGD("%s: usecase %d write failed  sleeping for buffer duration", "out_write",
             static_cast<int>(out->usecase));
    const struct audio_stream* const common = &out->stream.common;
    const size_t frame_bytes = stream_frame_size(common, channel_count_from_out_mask);
    if (frame_bytes == 0) {
        HAL_LOGE("%s: Invalid stream size", "out_write");
        return -EINVAL;
    }
    const uint32_t rate_hz = out_get_sample_rate(common);
    if (rate_hz == 0) {
        HAL_LOGE("%s: Invalid sample rate", "out_write");
        return -EINVAL;
    }
    sleep_for_buffer_duration(bytes, frame_bytes, rate_hz);
    return static_cast<ssize_t>(bytes);
}

// Opens the back end of a stream in standby. False when it stays closed.
bool wake(hal_stream_out* out, const out_backend* backend) HAL_REQUIRES(out->lock) {
    if (!out->standby) {
        return true;
    }
    int32_t error = 0;
    {
        const hal_lock device_lock(out->dev->lock, log_tag, "out_write");
        error = backend->open(out);
    }
    if (error != 0) {
        HAL_LOGE("%s_open failed %x", backend->name, static_cast<unsigned>(error));
        return false;
    }
    out->standby = false;
    return true;
}

}  // namespace

ssize_t out_write(struct audio_stream_out* stream, const void* buffer, size_t bytes) {
    if (stream == nullptr) {
        HAL_LOGE("stream is invalide");
        return 0;
    }
    if (bytes > 0 && any_null(__func__, buffer)) {
        return -EINVAL;
    }
    hal_stream_out* const out = to_hal_stream_out(stream);
    {
        const hal_lock lock(out->lock, log_tag, __func__);
        const out_backend* const backend = out_backend_of(out);
        if (backend == nullptr) {
            HAL_LOGE("%s:Invalid usecase %d", __func__, static_cast<int>(out->usecase));
        } else if (wake(out, backend)) {
            return backend->write(out, buffer, bytes);
        }
    }
    // Without the stream's lock, so that other operations need not wait for the sleep.
    return sleep_instead_of_playing(out, bytes);
}

int out_standby(struct audio_stream* stream) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    hal_stream_out* const out = to_hal_stream_out(stream);
    const hal_lock lock(out->lock, log_tag, __func__);
    if (out->standby) {
        return 0;
    }
    const out_backend* const backend = out_backend_of(out);
    if (backend == nullptr) {
        HAL_LOGE("%s:Invalid usecase %d", "do_out_standby", static_cast<int>(out->usecase));
        out->standby = true;
        return 0;
    }
    const int32_t error = backend->close(out);
    if (error != 0) {
        HAL_LOGE("%s_close failed (0x%x)", backend->name, static_cast<unsigned>(error));
        return 0;  // stays awake: the next standby tries again
    }
    out->standby = true;
    return 0;
}
