// The output stream record: made when a stream is opened, freed when it is closed, borrowed by the
// framework and by the stream's back end in between.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include <hardware/audio.h>
#include <tinyalsa/asoundlib.h>

#include "diag/lock.h"
#include "records/device.h"
#include "records/record_cast.h"
#include "records/usecase.h"

struct hpo;
struct avplay_session;

struct hal_stream_out {
    struct audio_stream_out stream;

    // Set when the stream is opened. Exactly one back end is there; the stream owns it.
    struct hpo* hpo;
    struct avplay_session* hdo;
    struct pcm_config config;  // what the back end plays; fixed by the usecase
    hal_device* dev;

    // What the framework asked for. Rate and format may be set at any time: load_relaxed() and
    // store_relaxed().
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    audio_output_flags_t flags;
    audio_devices_t devices;

    // Guards the back end's state and standby. Lock order: this, then the device's lock.
    hal_mutex lock;
    out_usecase usecase;  // set when the stream is opened
    bool standby HAL_GUARDED_BY(lock);

    // Capabilities as the open request gave them; each list ends at its first 0.
    uint32_t supported_channel_masks[3];
    uint32_t supported_formats[16];
    uint32_t supported_sample_rates[9];
};

static_assert(std::is_trivial_v<hal_stream_out> && std::is_standard_layout_v<hal_stream_out>);
static_assert(offsetof(hal_stream_out, stream) == 0);

// The framework's stream pointer, taken back as the record. `common` is the first member of the
// platform's stream, so the two pointers that the framework uses are the same address.
inline hal_stream_out* to_hal_stream_out(const struct audio_stream_out* stream) {
    return record_at<hal_stream_out>(stream);
}

inline hal_stream_out* to_hal_stream_out(const struct audio_stream* common) {
    return record_at<hal_stream_out>(common);
}
