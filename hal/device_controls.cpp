#include "hal/device_controls.h"

#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "hal/arguments.h"
#include "records/device.h"

namespace {

constexpr const char* log_tag = "audio_hal";

constexpr size_t input_buffer_bytes = 4096;

}  // namespace

int adev_set_voice_volume(struct audio_hw_device* dev, float /*volume*/) {
    trace_call(log_tag, __func__);
    return any_null(__func__, dev) ? -EINVAL : 0;
}

int adev_set_master_volume(struct audio_hw_device* dev, float volume) {
    if (any_null(__func__, dev)) {
        return -EINVAL;
    }
    store_relaxed(to_hal_device(dev)->master_volume, volume);
    HAL_LOGD("%s: adev(%p) volume(%f)", __func__, static_cast<void*>(dev),
             static_cast<double>(volume));
    return 0;
}

int adev_get_master_volume(struct audio_hw_device* dev, float* volume) {
    if (any_null(__func__, dev, volume)) {
        return -EINVAL;
    }
    *volume = load_relaxed(to_hal_device(dev)->master_volume);
    HAL_LOGD("%s: adev(%p) volume(%f)", __func__, static_cast<void*>(dev),
             static_cast<double>(*volume));
    return 0;
}

int adev_set_master_mute(struct audio_hw_device* dev, bool muted) {
    if (any_null(__func__, dev)) {
        return -EINVAL;
    }
    store_relaxed(to_hal_device(dev)->master_mute, muted);
    HAL_LOGD("%s: adev(%p) muted(%d)", __func__, static_cast<void*>(dev), muted);
    return 0;
}

int adev_get_master_mute(struct audio_hw_device* dev, bool* muted) {
    if (any_null(__func__, dev, muted)) {
        return -EINVAL;
    }
    *muted = load_relaxed(to_hal_device(dev)->master_mute);
    HAL_LOGD("%s: adev(%p) muted(%d)", __func__, static_cast<void*>(dev), *muted);
    return 0;
}

int adev_set_mode(struct audio_hw_device* dev, audio_mode_t mode) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, dev)) {
        return -EINVAL;
    }
    HAL_LOGD("%s: adev(%p) mode(%d)", __func__, static_cast<void*>(dev), static_cast<int>(mode));
    return 0;
}

int adev_set_mic_mute(struct audio_hw_device* dev, bool state) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, dev)) {
        return -EINVAL;
    }
    store_relaxed(to_hal_device(dev)->mic_mute, state);
    HAL_LOGD("%s: adev(0x%p) state(%d)", __func__, static_cast<void*>(dev), state);
    return 0;
}

int adev_get_mic_mute(const struct audio_hw_device* dev, bool* state) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, dev, state)) {
        return -EINVAL;
    }
    *state = load_relaxed(to_hal_device(dev)->mic_mute);
    HAL_LOGD("%s: adev(0x%p) state(%d)", __func__, static_cast<const void*>(dev), *state);
    return 0;
}

int adev_dump(const struct audio_hw_device* dev, int /*fd*/) {
    trace_call(log_tag, __func__);
    return any_null(__func__, dev) ? -EINVAL : 0;
}

size_t adev_get_input_buffer_size(const struct audio_hw_device* dev,
                                  const struct audio_config* /*config*/) {
    if (any_null(__func__, dev)) {
        return 0;
    }
    HAL_LOGD("%s: adev(0x%p) size(%d)", __func__, static_cast<const void*>(dev),
             static_cast<int>(input_buffer_bytes));
    return input_buffer_bytes;
}
