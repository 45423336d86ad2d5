#include "pcm/hpi.h"

#include <errno.h>
#include <stdlib.h>

#include <annexk/annexk.h>
#include <cutils/properties.h>
#include <tinyalsa/asoundlib.h>

#include "diag/capture_file.h"
#include "diag/log.h"
#include "pcm/open_card.h"
#include "records/stream_in.h"

namespace {

constexpr const char* log_tag = "audio_hal_hpi";

void close_card(struct hpi* hpi) {
    if (hpi->pcm != nullptr) {
        pcm_close(hpi->pcm);
        hpi->pcm = nullptr;
    }
}

}  // namespace

int32_t hpi_create(struct hpi** slot) {
    if (slot == nullptr) {
        return -EINVAL;
    }
    auto* const record = static_cast<struct hpi*>(malloc(sizeof(struct hpi)));
    if (record == nullptr) {
        HAL_LOGE("%s: malloc size(%d) failed", __func__, static_cast<int>(sizeof(struct hpi)));
        return -ENOMEM;
    }
    const int clear_error = memset_s(record, sizeof(*record), 0, sizeof(*record));
    if (clear_error != 0) {
        HAL_LOGE("%s: memset_s hpi failed, ret(0x%x)", __func__,
                 static_cast<unsigned>(clear_error));
    }
    *record = {.card = 0, .pcm_device = 0, .pcm = nullptr, .in = nullptr, .capture_file = nullptr};
    *slot = record;
    return 0;
}

int32_t hpi_open(struct hpi* hpi) {
    if (hpi == nullptr || hpi->in == nullptr) {
        return -EINVAL;
    }
    HAL_LOGD("pcm_open card:device(hw:%d:%d)\n", static_cast<int>(hpi->card),
             static_cast<int>(hpi->pcm_device));
    const struct pcm_config& config = hpi->in->config;
    HAL_LOGD("config channels:%d rate:%d period_size=%d period_count=%d format=%x",
             static_cast<int>(config.channels), static_cast<int>(config.rate),
             static_cast<int>(config.period_size), static_cast<int>(config.period_count),
             static_cast<unsigned>(config.format));
    hpi->pcm = open_card(hpi->card, hpi->pcm_device, PCM_IN, config, log_tag);
    if (hpi->pcm == nullptr) {
        return -ENOMEM;
    }
    char value[PROPERTY_VALUE_MAX];
    const int clear_error = memset_s(value, sizeof(value), 0, sizeof(value));
    if (clear_error != 0) {
        HAL_LOGE("%s: memset_s value failed, ret(0x%x)", __func__,
                 static_cast<unsigned>(clear_error));
    }
    update_capture_file(&hpi->capture_file, record_capture, value, {log_tag, __func__});
    return 0;
}

int32_t hpi_read(struct hpi* hpi, void* buffer, size_t bytes) {
    if (hpi == nullptr) {
        return -EINVAL;
    }
    if (bytes > INT32_MAX) {
        HAL_LOGE("%s: %zu bytes are more than one read takes", __func__, bytes);
        return -EINVAL;
    }
    const auto wanted = static_cast<int32_t>(bytes);
    if (hpi->pcm == nullptr) {
        HAL_LOGE("%s: failed pcm should not be NULL ", __func__);
        return wanted;
    }
    const int error = pcm_read(hpi->pcm, buffer, static_cast<unsigned>(bytes));
    if (error != 0) {
        // "written" as in the playback back end: people grep for this text.
        HAL_LOGE("%s:%d byte written failed, ret(0x%x)", __func__, wanted,
                 static_cast<unsigned>(error));
        return wanted;
    }
    append_to_capture_file(hpi->capture_file, buffer, bytes, {log_tag, __func__});
    return wanted;
}

int32_t hpi_close(struct hpi* hpi) {
    if (hpi == nullptr) {
        return -EINVAL;
    }
    HAL_LOGD("%s:device(hw:%d:%d)\n", __func__, static_cast<int>(hpi->card),
             static_cast<int>(hpi->pcm_device));
    close_card(hpi);
    close_capture_file(&hpi->capture_file);
    return 0;
}

void hpi_destroy(struct hpi* hpi) {
    HAL_LOGD("%s: hpi(%p)", __func__, static_cast<void*>(hpi));
    if (hpi == nullptr) {
        return;
    }
    close_capture_file(&hpi->capture_file);
    close_card(hpi);
    free(hpi);
}
