// The input stream record: made when a stream is opened, freed when it is closed, borrowed by the
// framework, the voice-input library, the stream's back end and its resampler in between.
#pragma once

#include <stddef.h>  // for audio_utils/resampler.h, which uses size_t without it
#include <stdint.h>
#include <type_traits>

#include <audio_utils/resampler.h>
#include <hardware/audio.h>
#include <tinyalsa/asoundlib.h>

#include "diag/lock.h"
#include "records/device.h"
#include "records/record_cast.h"
#include "records/usecase.h"

struct hpi;

struct hal_stream_in {
    struct audio_stream_in stream;

    // Set when the stream is opened.
    struct hpi* hpi;           // the back end, which the stream owns
    struct pcm_config config;  // what the card delivers
    hal_device* dev;

    // What the framework asked for. Rate and format may be set at any time: load_relaxed() and
    // store_relaxed().
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;

    // Guards the back end's state, standby, and all from the resampler to the hal buffer. Lock
    // order: this, then the device's lock.
    hal_mutex lock;
    int32_t usecase;  // always USECASE_CAPTURE

    // Conversion of rate: null and unused where the stream runs at the card's own. The resampler
    // and its provider live in reads only.
    struct resampler_itfe* resampler;
    struct resampler_buffer_provider buf_provider;
    uint32_t frames_in;    // of the period in the work buffer, not yet given to the resampler
    void* rsc_workbuffer;  // one period of card frames; made by the first read that resamples

    void* buffer_hal;  // card frames on their way to one channel; null where no channel is folded
    bool standby HAL_GUARDED_BY(lock);

    // Capabilities as the open request gave them; each list ends at its first 0.
    uint32_t supported_channel_masks[3];
    uint32_t supported_formats[16];
    uint32_t supported_sample_rates[9];
};

static_assert(std::is_trivial_v<hal_stream_in> && std::is_standard_layout_v<hal_stream_in>);
static_assert(offsetof(hal_stream_in, stream) == 0);

// The framework's stream pointer, taken back as the record. `common` is the first member of the
// platform's stream, so the two pointers that the framework uses are the same address.
inline hal_stream_in* to_hal_stream_in(const struct audio_stream_in* stream) {
    return record_at<hal_stream_in>(stream);
}

inline hal_stream_in* to_hal_stream_in(const struct audio_stream* common) {
    return record_at<hal_stream_in>(common);
}

// The record that a resampler's provider is part of.
inline hal_stream_in* to_hal_stream_in(struct resampler_buffer_provider* provider) {
    return record_at<hal_stream_in>(reinterpret_cast<const char*>(provider) -
                                    offsetof(hal_stream_in, buf_provider));
}
