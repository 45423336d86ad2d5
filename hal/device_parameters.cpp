#include <errno.h>
#include <string.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/hdo.h"
#include "hal/arguments.h"
#include "hal/device_controls.h"
#include "hal/parsed_parameters.h"
#include "records/device.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// The key by which the framework asks for an AV-sync source.
constexpr const char* hw_av_sync_key = "hw_av_sync";

// Adds the id of the AV-sync source to the reply, obtaining one if the device holds none. Not
// guarded: the framework asks from its control thread only.
void answer_hw_av_sync(hal_device* adev, struct str_parms* reply) {
    if (load_relaxed(adev->hw_sync_id) != hw_sync_id_none) {
        HAL_LOGD("Hw sync source(0x%x) already obtained, reuse it\n",
                 load_relaxed(adev->hw_sync_id));
    } else if (hdo_create_hwsync_source(&adev->hw_sync_id) != 0) {
        HAL_LOGE("hdo_create_hwsync_source failed\n");
        HAL_LOGE("adev_obtain_hwsync_source failed");
        return;
    }
    str_parms_add_int(reply, hw_av_sync_key, static_cast<int>(load_relaxed(adev->hw_sync_id)));
}

}  // namespace

int adev_set_parameters(struct audio_hw_device* dev, const char* kvpairs) {
    trace_call(log_tag, __func__);
    HAL_LOGD("%s: kvpairs: %s", __func__, log_text(kvpairs));
    return any_null(__func__, dev, kvpairs) ? -EINVAL : 0;
}

char* adev_get_parameters(const struct audio_hw_device* dev, const char* keys) {
    HAL_LOGD("adev_get_parameters keys:%s", log_text(keys));
    if (any_null(__func__, dev)) {
        return strdup("");
    }
    const parameter_query query = parse_query(__func__, keys);
    if (query.reply == nullptr) {
        return strdup("");
    }
    if (str_parms_has_key(query.keys.get(), hw_av_sync_key)) {
        answer_hw_av_sync(to_hal_device(dev), query.reply.get());
    }
    char* const text = str_parms_to_str(query.reply.get());
    HAL_LOGD("%s: returns %s", __func__, log_text(text));
    return text;
}
