#include "hal/in_provider.h"

#include <algorithm>
#include <errno.h>
#include <stdlib.h>

#include <tinyalsa/asoundlib.h>

#include "diag/capture_file.h"
#include "diag/log.h"
#include "hal/in_channels.h"
#include "pcm/hpi.h"
#include "records/stream_in.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// Makes the work buffer if there is none yet; 0, or -1 with an error line.
int make_work_buffer(hal_stream_in* in, unsigned period_bytes) {
    if (period_bytes == 0) {
        HAL_LOGE("size is 0");
        return -1;
    }
    if (period_bytes <
        size_t{in->config.period_size} * resampler_channels(in) * card_sample_bytes) {
        HAL_LOGE("%s: %u bytes do not hold a period of %u 16-bit frames", "rsrc_get_next_buffer",
                 period_bytes, in->config.period_size);
        return -1;
    }
    if (in->rsc_workbuffer == nullptr) {
        in->rsc_workbuffer = malloc(period_bytes);
    }
    if (in->rsc_workbuffer == nullptr) {
        HAL_LOGE("rsc_workbuffer malloc failed");
        return -1;
    }
    return 0;
}

// Reads one period into the work buffer; 0 or what pcm_read answered.
int fetch_period(hal_stream_in* in, struct pcm* pcm, unsigned period_bytes) {
    const int error = pcm_read(pcm, in->rsc_workbuffer, period_bytes);
    if (error != 0) {
        HAL_LOGE("get_next_buffer() pcm_read error %d %s", error, log_text(pcm_get_error(pcm)));
        return error;
    }
    const uint32_t period_frames = in->config.period_size;
    in->frames_in = period_frames;
    HAL_LOGD("get_next_buffer() pcm_read %d  time(%d)success", static_cast<int>(period_frames),
             static_cast<int>(uint64_t{period_frames} * 1000 / in->config.rate));
    append_to_capture_file(in->hpi->capture_file, in->rsc_workbuffer, period_bytes,
                           {log_tag, "rsrc_get_next_buffer"});
    return 0;
}

}  // namespace

int rsrc_get_next_buffer(struct resampler_buffer_provider* provider,
                         struct resampler_buffer* buffer) {
    if (provider == nullptr || buffer == nullptr) {
        return -EINVAL;
    }
    const size_t wanted_frames = buffer->frame_count;
    buffer->raw = nullptr;
    buffer->frame_count = 0;
    hal_stream_in* const in = to_hal_stream_in(provider);
    struct pcm* const pcm = in->hpi->pcm;
    if (pcm == nullptr) {
        HAL_LOGE("in->pcm null pointer");
        return -ENODEV;
    }
    const uint32_t period_frames = in->config.period_size;
    const unsigned period_bytes = pcm_frames_to_bytes(pcm, period_frames);
    int error = make_work_buffer(in, period_bytes);
    if (error == 0 && in->frames_in == 0) {
        error = fetch_period(in, pcm, period_bytes);
    }
    if (error != 0) {
        return error;
    }
    HAL_LOGV("get_next_buffer before src frame req(%d) beread(%d)", static_cast<int>(wanted_frames),
             static_cast<int>(in->frames_in));
    const size_t frame_bytes = resampler_channels(in) * card_sample_bytes;
    buffer->frame_count = std::min<size_t>(wanted_frames, in->frames_in);
    buffer->raw =
        static_cast<char*>(in->rsc_workbuffer) + (period_frames - in->frames_in) * frame_bytes;
    return 0;
}

void rsrc_release_buffer(struct resampler_buffer_provider* provider,
                         struct resampler_buffer* buffer) {
    if (provider == nullptr || buffer == nullptr) {
        return;
    }
    hal_stream_in* const in = to_hal_stream_in(provider);
    HAL_LOGD("release_buffer pcm total frames(%d) To release frame(%d)",
             static_cast<int>(in->frames_in), static_cast<int>(buffer->frame_count));
    // A resampler that gives back more than it got must not wrap the count.
    in->frames_in -= static_cast<uint32_t>(std::min<size_t>(buffer->frame_count, in->frames_in));
}
