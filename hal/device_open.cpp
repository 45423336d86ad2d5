#include "hal/device_open.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "diag/debug_switches.h"
#include "diag/lock.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/hdo.h"
#include "hal/arguments.h"
#include "hal/device_controls.h"
#include "hal/in_open.h"
#include "hal/out_open.h"
#include "hal/voice_input.h"
#include "records/device.h"

namespace {

constexpr const char* log_tag = "audio_hal";

hal_mutex adev_init_lock = {};
uint32_t adev_init_count = 0;  // written under adev_init_lock, read by adev_init_check without it
hal_device* adev_instance HAL_GUARDED_BY(adev_init_lock) = nullptr;

// Later releases add operations at the end, which stay null.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
constexpr struct audio_hw_device device_operations = {
    .common =
        {
            .tag = HARDWARE_DEVICE_TAG,
            .version = AUDIO_DEVICE_API_VERSION_2_0,
            .module = nullptr,  // the module that the device is opened through
            .reserved = {},
            .close = adev_close,
        },
    .get_supported_devices = nullptr,  // the framework reads its audio policy configuration instead
    .init_check = adev_init_check,
    .set_voice_volume = adev_set_voice_volume,
    .set_master_volume = adev_set_master_volume,
    .get_master_volume = adev_get_master_volume,
    .set_mode = adev_set_mode,
    .set_mic_mute = adev_set_mic_mute,
    .get_mic_mute = adev_get_mic_mute,
    .set_parameters = adev_set_parameters,
    .get_parameters = adev_get_parameters,
    .get_input_buffer_size = adev_get_input_buffer_size,
    .open_output_stream = adev_open_output_stream,
    .close_output_stream = adev_close_output_stream,
    .open_input_stream = adev_open_input_stream,
    .close_input_stream = adev_close_input_stream,
    .get_microphones = adev_get_microphones,
    .dump = adev_dump,
    .set_master_mute = adev_set_master_mute,
    .get_master_mute = adev_get_master_mute,
    .create_audio_patch = nullptr,  // this and the next three: patches need device API 3.0
    .release_audio_patch = nullptr,
    .get_audio_port = nullptr,
    .set_audio_port_config = nullptr,
};
#pragma GCC diagnostic pop

// The record with its operations and initial values; null when memory is short.
hal_device* create_device(const struct hw_module_t* module) {
    auto* const adev = static_cast<hal_device*>(calloc(1, sizeof(hal_device)));
    if (adev == nullptr) {
        return nullptr;
    }
    adev->device = device_operations;
    adev->device.common.module = const_cast<struct hw_module_t*>(module);
    adev->hw_sync_id = hw_sync_id_none;
    adev->mic_mute = false;
    adev->master_mute = false;
    adev->hdo_supported = true;
    adev->master_volume = 1.0F;
    pthread_mutex_init(&adev->lock.native, nullptr);
    return adev;
}

void destroy_device(hal_device* adev) {
    pthread_mutex_destroy(&adev->lock.native);
    free(adev);
}

void give_back_hw_sync_source(const hal_device* adev) {
    const uint32_t id = load_relaxed(adev->hw_sync_id);
    if (id == hw_sync_id_none) {
        HAL_LOGD("Hw sync source already giveback ");
        return;
    }
    if (hdo_destroy_hwsync_source(id) != 0) {
        HAL_LOGE("hal_avplay_destroy_ext failed\n");
    }
}

}  // namespace

int adev_open(const struct hw_module_t* module, const char* name, struct hw_device_t** device_out) {
    HAL_LOGD("%s name(%s)", __func__, log_text(name));
    if (any_null(__func__, device_out)) {
        return -EINVAL;
    }
    *device_out = nullptr;
    const hal_lock lock(adev_init_lock, log_tag, __func__);
    if (name == nullptr || strcmp(name, AUDIO_HARDWARE_INTERFACE) != 0) {
        HAL_LOGE("%s Invalid name", __func__);
        return -EINVAL;
    }
    if (adev_init_count != 0) {
        HAL_LOGW("%s() Warning! Audio device already init, don`t repeat.", __func__);
        if (adev_instance != nullptr) {
            *device_out = &adev_instance->device.common;
        }
        store_relaxed(adev_init_count, adev_init_count + 1);
        return 0;
    }

    hal_device* const adev = create_device(module);
    if (adev == nullptr) {
        return -ENOMEM;
    }
    const int32_t error = hdo_init(adev);
    if (error != 0) {
        HAL_LOGE("hdo_init failed(0x%x)", static_cast<unsigned>(error));
    }
    custom_init();
    *device_out = &adev->device.common;
    adev_instance = adev;
    store_relaxed(adev_init_count, adev_init_count + 1);
    return 0;
}

int adev_close(struct hw_device_t* device) {
    trace_call(log_tag, __func__);
    const hal_lock lock(adev_init_lock, log_tag, __func__);
    if (adev_init_count == 0) {
        return 0;
    }
    store_relaxed(adev_init_count, adev_init_count - 1);
    if (adev_init_count != 0) {
        HAL_LOGW("%s() Have other audio client working, don`t release the hw resource", __func__);
        return 0;
    }
    if (device == nullptr) {
        HAL_LOGD("%s adev null point", __func__);
        return -EINVAL;
    }
    hdo_deinit();
    hal_device* const adev = to_hal_device(device);
    give_back_hw_sync_source(adev);
    destroy_device(adev);
    adev_instance = nullptr;
    return 0;
}

int adev_init_check(const struct audio_hw_device* /*device*/) {
    trace_call(log_tag, __func__);
    return load_relaxed(adev_init_count) != 0 ? 0 : -ENODEV;
}
