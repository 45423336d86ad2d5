#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/lock.h"
#include "diag/log.h"
#include "direct/hdo.h"
#include "hal/arguments.h"
#include "hal/out_operations.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal";

int under_stream_lock(struct audio_stream_out* stream, const char* operation,
                      int32_t (*control)(struct avplay_session* hdo)) {
    hal_stream_out* const out = to_hal_stream_out(stream);
    const hal_lock lock(out->lock, log_tag, operation);
    return control(out->hdo);
}

}  // namespace

int out_set_callback(struct audio_stream_out* stream, stream_callback_t /*callback*/,
                     void* /*cookie*/) {
    trace_call(log_tag, __func__);
    // Nothing is stored: writes are never asynchronous, so there are no events to deliver.
    return any_null(__func__, stream) ? -EINVAL : 0;
}

int out_pause(struct audio_stream_out* stream) {
    HAL_LOGD("%s out(%p) in \n", __func__, static_cast<void*>(stream));
    if (stream == nullptr) {
        return -1;
    }
    const int result = under_stream_lock(stream, __func__, hdo_pause);
    HAL_LOGD("%s out(%p) return (0x%x)", __func__, static_cast<void*>(stream),
             static_cast<unsigned>(result));
    return result;
}

int out_resume(struct audio_stream_out* stream) {
    if (stream == nullptr) {
        return -1;
    }
    const int result = under_stream_lock(stream, __func__, hdo_resume);
    HAL_LOGD("%s out(%p) ret(0x%x)", __func__, static_cast<void*>(stream),
             static_cast<unsigned>(result));
    return result;
}

int out_drain(struct audio_stream_out* stream, audio_drain_type_t type) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    int result = 0;
    {
        hal_stream_out* const out = to_hal_stream_out(stream);
        const hal_lock lock(out->lock, log_tag, __func__);
        if (out->usecase == USECASE_DIRECT_HWSYNC) {
            result = hdo_drain(out->hdo, type == AUDIO_DRAIN_EARLY_NOTIFY);
        }
    }
    HAL_LOGD("%s out(%p) type(%d) ret(0x%x)", __func__, static_cast<void*>(stream),
             static_cast<int>(type), static_cast<unsigned>(result));
    return result;
}

int out_flush(struct audio_stream_out* stream) {
    HAL_LOGD("%s out(%p) in \n", __func__, static_cast<void*>(stream));
    if (stream == nullptr) {
        return -1;
    }
    const int result = under_stream_lock(stream, __func__, hdo_flush);
    HAL_LOGD("%s out(%p) ret(0x%x)", __func__, static_cast<void*>(stream),
             static_cast<unsigned>(result));
    return result;
}
