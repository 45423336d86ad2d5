#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/out_backend.h"
#include "hal/out_operations.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// Frames presented so far; 0 while the back end cannot tell. False for an invalid usecase.
bool presented_frames(const struct audio_stream_out* stream, const char* operation,
                      uint64_t* frames) {
    *frames = 0;
    hal_stream_out* const out = to_hal_stream_out(stream);
    const out_backend* const backend = out_backend_of(out);
    if (backend == nullptr) {
        HAL_LOGE("%s:Invalid usecase %d", operation, static_cast<int>(out->usecase));
        return false;
    }
    backend->get_tstamp(out, frames);  // on a failure the count stays as it is
    return true;
}

}  // namespace

int out_get_render_position(const struct audio_stream_out* stream, uint32_t* dsp_frames) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream, dsp_frames)) {
        return -EINVAL;
    }
    uint64_t frames = 0;
    const bool valid = presented_frames(stream, __func__, &frames);
    *dsp_frames = static_cast<uint32_t>(frames);
    return valid ? 0 : -1;
}

int out_get_presentation_position(const struct audio_stream_out* stream, uint64_t* frames,
                                  struct timespec* timestamp) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream, frames, timestamp)) {
        return -EINVAL;
    }
    uint64_t count = 0;
    presented_frames(stream, __func__, &count);
    const int result = clock_gettime(CLOCK_MONOTONIC, timestamp);
    if (result < 0) {
        HAL_LOGE("clock_gettime failed %x", static_cast<unsigned>(result));
    }
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s out(%p) dsp_frames(%llu) ret(0x%x)", __func__,
                 static_cast<const void*>(stream), static_cast<unsigned long long>(count),
                 static_cast<unsigned>(result));
    }
    *frames = count;
    return result;
}

int out_get_next_write_timestamp(const struct audio_stream_out* stream, int64_t* timestamp) {
    trace_call(log_tag, __func__);
    return stream == nullptr || timestamp == nullptr ? -1 : 0;
}
