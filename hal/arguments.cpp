#include "hal/arguments.h"

#include "diag/log.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

void log_null_argument(const char* operation) {
    HAL_LOGE("%s: null argument", operation);
}
