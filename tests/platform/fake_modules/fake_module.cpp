// A hardware module to be loaded by tests; the build says which faults it has.
#include <hardware/hardware.h>

#ifndef FAKE_TAG
#define FAKE_TAG HARDWARE_MODULE_TAG
#endif

#if defined(FAKE_UNRESOLVED)
// Defined nowhere: a module that only lazy binding would load.
int not_in_any_library();
int call_it();
int call_it() {
    return not_in_any_library();
}
#endif

extern "C" __attribute__((visibility("default"))) hw_module_t FAKE_SYMBOL;

hw_module_t FAKE_SYMBOL = {
    .tag = FAKE_TAG,
    .module_api_version = HARDWARE_MODULE_API_VERSION(0, 1),
    .hal_api_version = HARDWARE_HAL_API_VERSION,
    .id = FAKE_ID,
    .name = "fake",
    .author = "tests",
    .methods = nullptr,
    .dso = nullptr,
    .reserved = {},
};
