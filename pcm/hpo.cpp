#include "pcm/hpo.h"

#include <errno.h>
#include <stdlib.h>

#include <annexk/annexk.h>
#include <cutils/properties.h>
#include <tinyalsa/asoundlib.h>

#include "diag/capture_file.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "pcm/open_card.h"
#include "pcm/published_pcm.h"
#include "records/sample_format.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal_hpo";

constexpr unsigned open_flags = PCM_OUT | PCM_MONOTONIC;

// The card always runs 16-bit, whatever the stream's format says.
constexpr uint32_t card_bytes_per_sample = 2;

uint32_t card_buffer_frames(const struct pcm_config& config) {
    return config.period_size * config.period_count;
}

void close_card(struct hpo* hpo) {
    struct pcm* const pcm = withdraw_pcm(hpo);
    if (pcm != nullptr) {
        pcm_close(pcm);
    }
}

}  // namespace

int32_t hpo_create(struct hpo** slot) {
    if (slot == nullptr) {
        return -EINVAL;
    }
    auto* const record = static_cast<struct hpo*>(calloc(1, sizeof(struct hpo)));
    if (record == nullptr) {
        HAL_LOGE("%s: calloc size(%d) failed", __func__, static_cast<int>(sizeof(struct hpo)));
        return -ENOMEM;
    }
    if (memset_s(record, sizeof(*record), 0, sizeof(*record)) != 0) {
        HAL_LOGE("%s: memset_s hpo failed", __func__);
    }
    record->card = 0;
    record->pcm_device = 0;
    record->capture_file = nullptr;
    *slot = record;
    return 0;
}

int32_t hpo_open(struct hpo* hpo) {
    if (hpo == nullptr || hpo->out == nullptr) {
        return -EINVAL;
    }
    HAL_LOGD("%s:device(hw:%d:%d) flags(0x%x) \n", __func__, static_cast<int>(hpo->card),
             static_cast<int>(hpo->pcm_device), open_flags);
    struct pcm* const pcm =
        open_card(hpo->card, hpo->pcm_device, open_flags, hpo->out->config, log_tag);
    if (pcm == nullptr) {
        return -ENOMEM;
    }
    publish_pcm(hpo, pcm);

    char value[PROPERTY_VALUE_MAX];
    if (memset_s(value, sizeof(value), 0, sizeof(value)) != 0) {
        HAL_LOGE("%s: memset_s value failed", __func__);
    }
    update_capture_file(&hpo->capture_file, pcm_capture, value, {log_tag, __func__});
    return 0;
}

int32_t hpo_write(struct hpo* hpo, const void* buffer, size_t bytes) {
    if (hpo == nullptr) {
        return -EINVAL;
    }
    if (bytes > INT32_MAX) {
        HAL_LOGE("%s: %zu bytes are more than one write takes", __func__, bytes);
        return -EINVAL;
    }
    const auto accepted = static_cast<int32_t>(bytes);
    // The stream's lock is held, so the handle cannot be withdrawn meanwhile.
    struct pcm* const pcm = load_relaxed(hpo->pcm);
    if (pcm == nullptr) {
        HAL_LOGE("%s: failed pcm should not be NULL ", __func__);
        return accepted;
    }
    const uint32_t frame_bytes = hpo->out->config.channels * card_bytes_per_sample;
    const int error = pcm_write(pcm, buffer, static_cast<unsigned>(bytes));
    if (error != 0 || frame_bytes == 0) {
        HAL_LOGE("%s:%d byte written failed", __func__, accepted);
        return accepted;
    }
    store_relaxed_64(&hpo->frames_written,
                     load_relaxed_64(&hpo->frames_written) + bytes / frame_bytes);
    append_to_capture_file(hpo->capture_file, buffer, bytes, {log_tag, __func__});
    return accepted;
}

int32_t hpo_get_latency(struct hpo* hpo) {
    if (hpo == nullptr || hpo->out == nullptr) {
        return -EINVAL;
    }
    const struct pcm_config& config = hpo->out->config;
    const uint32_t latency_ms =
        config.rate == 0 ? 0 : card_buffer_frames(config) * 1000 / config.rate;
    HAL_LOGD("%s:latency=%d", __func__, static_cast<int>(latency_ms));
    return static_cast<int32_t>(latency_ms);
}

int32_t hpo_get_buffer_size(struct hpo* hpo) {
    if (hpo == nullptr || hpo->out == nullptr) {
        return -EINVAL;
    }
    const struct pcm_config& config = hpo->out->config;
    const uint32_t size_bytes =
        config.period_size * config.channels * bytes_per_sample(load_relaxed(hpo->out->format));
    HAL_LOGD("%s:buffersize=%d ", __func__, static_cast<int>(size_bytes));
    return static_cast<int32_t>(size_bytes);
}

int32_t hpo_get_tstamp(struct hpo* hpo, uint64_t* frames) {
    if (hpo == nullptr || frames == nullptr) {
        return 0;
    }
    const borrowed_pcm pcm(hpo);
    if (pcm.get() == nullptr) {
        return 0;
    }
    unsigned avail_frames = 0;
    struct timespec unused = {};
    if (pcm_get_htimestamp(pcm.get(), &avail_frames, &unused) != 0) {
        return 0;
    }
    const uint32_t buffer_frames = card_buffer_frames(hpo->out->config);
    if (avail_frames > buffer_frames) {
        return 0;  // the card ran dry
    }
    const uint32_t queued_frames = buffer_frames - avail_frames;
    const auto presented_frames = static_cast<int64_t>(load_relaxed_64(&hpo->frames_written)) -
                                  static_cast<int64_t>(queued_frames);
    if (presented_frames >= 0) {
        *frames = static_cast<uint64_t>(presented_frames);
    }
    return 0;
}

int32_t hpo_close(struct hpo* hpo) {
    if (hpo == nullptr) {
        return -EINVAL;
    }
    HAL_LOGD("%s:device(hw:%d:%d)\n", __func__, static_cast<int>(hpo->card),
             static_cast<int>(hpo->pcm_device));
    close_card(hpo);
    close_capture_file(&hpo->capture_file);
    return 0;
}

void hpo_destroy(struct hpo* hpo) {
    HAL_LOGD("%s: hpo(%p)", __func__, static_cast<void*>(hpo));
    if (hpo == nullptr) {
        return;
    }
    close_capture_file(&hpo->capture_file);
    close_card(hpo);
    free(hpo);
}
