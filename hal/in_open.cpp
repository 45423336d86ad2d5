#include "hal/in_open.h"

#include <errno.h>

#include "diag/log.h"
#include "hal/arguments.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

int adev_open_input_stream(struct audio_hw_device* dev, audio_io_handle_t /*handle*/,
                           audio_devices_t /*devices*/, struct audio_config* config,
                           struct audio_stream_in** stream_in, audio_input_flags_t /*flags*/,
                           const char* /*address*/, audio_source_t /*source*/) {
    if (stream_in != nullptr) {
        *stream_in = nullptr;
    }
    if (any_null(__func__, dev, config, stream_in)) {
        return -EINVAL;
    }
    HAL_LOGE("%s: this module has no capture path", __func__);
    return -ENOSYS;
}

void adev_close_input_stream(struct audio_hw_device* /*dev*/, struct audio_stream_in* stream) {
    // No stream was ever handed out, so there is none to release.
    HAL_LOGE("%s: in(%p) is not a stream of this module", __func__, static_cast<void*>(stream));
}
