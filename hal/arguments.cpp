#include "hal/arguments.h"

#include "diag/log.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}

bool any_null(const char* operation, std::initializer_list<const void*> arguments) {
    for (const void* argument : arguments) {
        if (argument == nullptr) {
            HAL_LOGE("%s: null argument", operation);
            return true;
        }
    }
    return false;
}
