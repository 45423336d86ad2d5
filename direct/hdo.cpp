// There is no player client yet, so the player service cannot be reached: the device opens without
// direct output, and the streams that would need the rest of this file are refused before they do.

#include "direct/hdo.h"

#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "records/device.h"

namespace {

constexpr const char* log_tag = "audio_hal_hdo";

constexpr int32_t not_connected = -ENODEV;

}  // namespace

int32_t hdo_init(struct hal_device* device) {
    trace_call(log_tag, __func__);
    HAL_LOGE("initAvplayer failed(0x%x) not support hdo", static_cast<unsigned>(not_connected));
    device->hdo_supported = false;
    return not_connected;
}

void hdo_deinit(void) {
    trace_call(log_tag, __func__);
}

int32_t hdo_create_hwsync_source(uint32_t* /*id*/) {
    HAL_LOGE("hal_avplay_create_ext failed(0x%x)", static_cast<unsigned>(not_connected));
    return not_connected;
}

int32_t hdo_destroy_hwsync_source(uint32_t /*id*/) {
    HAL_LOGE("hal_avplay_destroy_ext failed(0x%x)", static_cast<unsigned>(not_connected));
    return not_connected;
}

int32_t hdo_create(struct avplay_session** /*slot*/) {
    return not_connected;
}
int32_t hdo_open(struct avplay_session* /*hdo*/) {
    return not_connected;
}
int32_t hdo_write(struct avplay_session* /*hdo*/, const void* /*buffer*/, size_t /*bytes*/) {
    return not_connected;
}
int32_t hdo_get_buffer_size(struct avplay_session* /*hdo*/) {
    return 0;
}
int32_t hdo_get_latency(struct avplay_session* /*hdo*/) {
    return 0;
}
int32_t hdo_get_tstamp(struct avplay_session* /*hdo*/, uint64_t* /*frames*/) {
    return not_connected;
}
int32_t hdo_pause(struct avplay_session* /*hdo*/) {
    return not_connected;
}
int32_t hdo_resume(struct avplay_session* /*hdo*/) {
    return not_connected;
}
int32_t hdo_flush(struct avplay_session* /*hdo*/) {
    return not_connected;
}
int32_t hdo_drain(struct avplay_session* /*hdo*/, bool /*early_notify*/) {
    return not_connected;
}
int32_t hdo_close(struct avplay_session* /*hdo*/) {
    return not_connected;
}
void hdo_destroy(struct avplay_session* /*hdo*/) {}
