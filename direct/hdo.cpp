#include "direct/hdo.h"

#include <errno.h>
#include <stdlib.h>

#include <annexk/annexk.h>
#include <cutils/properties.h>

#include "diag/capture_file.h"
#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/property_switch.h"
#include "diag/relaxed.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_player.h"
#include "direct/avplay_session_setup.h"
#include "direct/playback_control.h"
#include "direct/status.h"
#include "direct/tunnel_writer.h"
#include "records/sample_format.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal_hdo";

// What the player holds beyond the stream's own buffer, in such buffers.
constexpr uint32_t latency_buffers = 4;

void open_capture_files(struct avplay_session* hdo) {
    char value[PROPERTY_VALUE_MAX];
    if (memset_s(value, sizeof(value), 0, sizeof(value)) != 0) {
        HAL_LOGE("%s: memset_s value for PROPERTY_FILE_ES failed", "hdo_create");
    }
    const bool es_enabled = read_property_switch(es_capture.property, value);
    if (memset_s(value, sizeof(value), 0, sizeof(value)) != 0) {
        HAL_LOGE("%s: memset_s value for PROPERTY_FILE_PTS failed", "hdo_create");
    }
    const bool pts_enabled = read_property_switch(pts_capture.property, value);
    const capture_log log = {log_tag, "hdo_create"};
    hdo->es_file = open_capture_file(es_enabled, es_capture, log);
    hdo->pts_file = open_capture_file(pts_enabled, pts_capture, log);
}

}  // namespace

int32_t hdo_init(struct hal_device* device) {
    trace_call(log_tag, __func__);
    if (device == nullptr) {
        return -1;
    }
    int32_t error = hal_avplay_initAvplayer();
    if (error != 0) {
        HAL_LOGE("initAvplayer failed(0x%x) not support hdo", as_hex(error));
        store_relaxed(device->hdo_supported, false);
        return error;
    }
    error = hal_avplay_initsnd();
    if (error != 0) {
        HAL_LOGE("initSnd failed(0x%x) not support hdo", as_hex(error));
        hal_avplay_deinitAvplayer();
        store_relaxed(device->hdo_supported, false);
        return error;
    }
    HAL_LOGD("hdo_init success");
    return 0;
}

void hdo_deinit(void) {
    trace_call(log_tag, __func__);
    int32_t error = hal_avplay_deinitsnd();
    if (error != 0) {
        HAL_LOGE("hal_snd_deinit failed(0x%x)", as_hex(error));
    }
    error = hal_avplay_deinitAvplayer();
    if (error != 0) {
        HAL_LOGE("hal_avplay_deinitAvplayer failed(0x%x)", as_hex(error));
    }
}

int32_t hdo_create(struct avplay_session** slot) {
    trace_call(log_tag, __func__);
    if (slot == nullptr) {
        return -1;
    }
    auto* const record =
        static_cast<struct avplay_session*>(calloc(1, sizeof(struct avplay_session)));
    if (record == nullptr) {
        HAL_LOGE("%s: calloc size(%d) failed", __func__,
                 static_cast<int>(sizeof(struct avplay_session)));
        return -ENOMEM;
    }
    if (memset_s(record, sizeof(*record), 0, sizeof(*record)) != 0) {
        HAL_LOGE("%s: memset_s hdo failed", __func__);
    }
    record->avplay_handle = avplay_handle_none;
    open_capture_files(record);
    *slot = record;
    return 0;
}

int32_t hdo_open(struct avplay_session* hdo) {
    if (hdo == nullptr) {
        return -1;
    }
    const int32_t error = hal_avplay_create(hdo);
    if (error != 0) {
        HAL_LOGE("hal_avplay_create failed with(0x%x)", as_hex(error));
        return error;
    }
    hdo->is_open = true;
    return 0;
}

int32_t hdo_get_buffer_size(struct avplay_session* hdo) {
    trace_call(log_tag, __func__);
    if (hdo == nullptr || hdo->stream == nullptr) {
        return 0;
    }
    const struct pcm_config& config = hdo->stream->config;
    const audio_format_t format = load_relaxed(hdo->stream->format);
    const uint32_t frame_bytes =
        has_sample_frames(format) ? bytes_per_sample(format) * config.channels : 1;
    const uint32_t size_bytes = frame_bytes * config.period_size;
    HAL_LOGD("%s: hdo(%p) buffersize=%d period_size:%d", __func__, static_cast<void*>(hdo),
             static_cast<int>(size_bytes), static_cast<int>(config.period_size));
    return static_cast<int32_t>(size_bytes);
}

int32_t hdo_get_latency(struct avplay_session* hdo) {
    if (hdo == nullptr || hdo->stream == nullptr) {
        return 0;
    }
    const struct pcm_config& config = hdo->stream->config;
    const uint32_t latency_ms = config.rate == 0 ? 0
                                                 : config.period_size * config.period_count *
                                                       (1000 * latency_buffers) / config.rate;
    HAL_LOGD("%s: latency=%d", __func__, static_cast<int>(latency_ms));
    return static_cast<int32_t>(latency_ms);
}

int32_t hdo_write(struct avplay_session* hdo, const void* buffer, size_t bytes) {
    trace_call(log_tag, __func__);
    if (hdo == nullptr) {
        return -1;
    }
    if (bytes > INT32_MAX) {
        HAL_LOGE("%s: %zu bytes are more than one write takes", __func__, bytes);
        return -EINVAL;
    }
    const auto accepted = static_cast<int32_t>(bytes);
    const int32_t error =
        hal_avplay_write(hdo, static_cast<const uint8_t*>(buffer), static_cast<uint32_t>(bytes));
    if (error != 0) {
        HAL_LOGE("hdo_write: %d bytes data failed(0x%x)", accepted, as_hex(error));
    }
    return accepted;
}

int32_t hdo_pause(struct avplay_session* hdo) {
    trace_call(log_tag, __func__);
    if (hdo == nullptr) {
        return -1;
    }
    const int32_t error = hal_avplay_pause(hdo);
    if (error != 0) {
        HAL_LOGE("hal_avplay_pause failed(0x%x)", as_hex(error));
    }
    return error;
}

int32_t hdo_resume(struct avplay_session* hdo) {
    trace_call(log_tag, __func__);
    if (hdo == nullptr) {
        return -1;
    }
    const int32_t error = hal_avplay_resume(hdo);
    if (error != 0) {
        HAL_LOGE("hal_avplay_resume failed(0x%x)", as_hex(error));
    }
    return error;
}

int32_t hdo_flush(struct avplay_session* hdo) {
    trace_call(log_tag, __func__);
    if (hdo == nullptr) {
        return -1;
    }
    hal_avplay_flush(hdo);
    return 0;
}

int32_t hdo_drain(struct avplay_session* /*hdo*/, bool /*early_notify*/) {
    trace_call(log_tag, __func__);
    return 0;
}

int32_t hdo_get_tstamp(struct avplay_session* hdo, uint64_t* frames) {
    if (hdo == nullptr || frames == nullptr) {
        return -1;
    }
    *frames = 0;
    const int32_t error = hal_avplay_getstamp(hdo, frames);
    if (error != 0) {
        HAL_LOGE("hal_avplay_getstamp failed (0x%x)", as_hex(error));
    }
    return error;
}

int32_t hdo_close(struct avplay_session* hdo) {
    if (hdo == nullptr) {
        return -1;
    }
    HAL_LOGD("hdo_close_audiochan PASSTHRU");
    hal_avplay_destoryaudio(hdo);
    hdo->is_open = false;
    switch (hdo->usecase) {
        case USECASE_DIRECT_HWSYNC:
            break;  // the player is the device's AV-sync source and stays
        case USECASE_DIRECT_PASSTHRU:
            if (load_relaxed(hdo->avplay_handle) != avplay_handle_none) {
                hal_avplay_destory(hdo);
            }
            break;
        default:
            HAL_LOGE("%s:invalid usecase", __func__);
            break;
    }
    return 0;
}

void hdo_destroy(struct avplay_session* hdo) {
    HAL_LOGD("%s: hdo(%p)", __func__, static_cast<void*>(hdo));
    if (hdo == nullptr) {
        return;
    }
    if (hdo->is_open) {
        hdo_close(hdo);
    }
    close_capture_file(&hdo->es_file);
    close_capture_file(&hdo->pts_file);
    free(hdo);
}

int32_t hdo_create_hwsync_source(uint32_t* id) {
    if (id == nullptr) {
        return -1;
    }
    uint32_t created = 0;
    const int32_t error = hal_avplay_create_ext(&created);
    if (error != 0) {
        HAL_LOGE("hal_avplay_create_ext failed(0x%x)", as_hex(error));
        return error;
    }
    store_relaxed(*id, created);
    return 0;
}

int32_t hdo_destroy_hwsync_source(uint32_t id) {
    const int32_t error = hal_avplay_destroy_ext(id);
    if (error != 0) {
        HAL_LOGE("hal_avplay_destroy_ext failed(0x%x)", as_hex(error));
    }
    return error;
}
