#include <errno.h>
#include <float.h>
#include <limits.h>

#include <annexk/annexk.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/device_controls.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// How the framework spells values that nobody measured.
constexpr float unknown_value = -FLT_MAX;
constexpr unsigned unknown_number = UINT_MAX;

// The one built-in microphone: where it sits and how it responds differs from board to board.
void describe_microphone(struct audio_microphone_characteristic_t* mic) {
    *mic = {};
    if (snprintf_s(mic->device_id, sizeof(mic->device_id), "%s", "builtin_mic") != 0 ||
        snprintf_s(mic->address, sizeof(mic->address), "%s", "bottom") != 0) {
        HAL_LOGE("%s: microphone names do not fit", "adev_get_microphones");
    }
    mic->device = AUDIO_DEVICE_IN_BUILTIN_MIC;
    mic->channel_mapping[0] = AUDIO_MICROPHONE_CHANNEL_MAPPING_DIRECT;
    mic->location = AUDIO_MICROPHONE_LOCATION_UNKNOWN;
    mic->group = static_cast<decltype(mic->group)>(unknown_number);  // signed: the same bits
    mic->index_in_the_group = unknown_number;
    mic->sensitivity = unknown_value;
    mic->max_spl = unknown_value;
    mic->min_spl = unknown_value;
    mic->directionality = AUDIO_MICROPHONE_DIRECTIONALITY_UNKNOWN;
    mic->geometric_location = {unknown_value, unknown_value, unknown_value};
    mic->orientation = {0.0F, 0.0F, 0.0F};
}

}  // namespace

int adev_get_microphones(const struct audio_hw_device* dev,
                         struct audio_microphone_characteristic_t* mics, size_t* count) {
    trace_call(log_tag, __func__);
    if (count == nullptr) {
        return -1;
    }
    if (any_null(__func__, dev)) {
        return -EINVAL;
    }
    if (mics != nullptr && *count >= 1) {
        describe_microphone(&mics[0]);
    }
    *count = 1;
    return 0;
}
