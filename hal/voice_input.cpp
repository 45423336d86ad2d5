#include "hal/voice_input.h"

#include <nano/nano.h>

#include "diag/log.h"

namespace {
constexpr const char* log_tag = "audio_hal_custom";
}

void custom_init(void) {
    HAL_LOGD("%s nano_init", __func__);
    nano_init();
}
