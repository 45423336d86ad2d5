// What the hardware-module loader finds in the library.

#include <hardware/audio.h>
#include <hardware/hardware.h>

#include "hal/device_open.h"

namespace {

struct hw_module_methods_t module_methods = {
    .open = adev_open,
};

}  // namespace

extern "C" {

// Writable, because the loader stores its handle in it.
struct hw_module_t HAL_MODULE_INFO_SYM = {
    .tag = HARDWARE_MODULE_TAG,
    .module_api_version = AUDIO_MODULE_API_VERSION_0_1,
    .hal_api_version = HARDWARE_HAL_API_VERSION,
    .id = AUDIO_HARDWARE_MODULE_ID,
    .name = "Zu audio HAL",
    .author = "Corvex",
    .methods = &module_methods,
    .dso = nullptr,
    .reserved = {},
};

}  // extern "C"
