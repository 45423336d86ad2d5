#include "hal/arguments.h"

#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/log.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

void log_null_argument(const char* operation) {
    HAL_LOGE("%s: null argument", operation);
}

int accept_and_ignore(const char* operation, const void* stream) {
    trace_call(log_tag, operation);
    return any_null(operation, stream) ? -EINVAL : 0;
}
