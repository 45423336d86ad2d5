#include "alsa_params.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include "pcm_format.h"
#include "pcm_handle.h"

namespace tinyalsa {

namespace {

// Indexed by pcm_format.
constexpr snd_pcm_format_t kAlsaFormats[kFormatCount] = {
    SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S32_LE,  SND_PCM_FORMAT_S8,
    SND_PCM_FORMAT_S24_LE, SND_PCM_FORMAT_S24_3LE,
};

struct params_deleter {
    void operator()(snd_pcm_hw_params_t* params) const { snd_pcm_hw_params_free(params); }
    void operator()(snd_pcm_sw_params_t* params) const { snd_pcm_sw_params_free(params); }
};
using hw_params_ptr = std::unique_ptr<snd_pcm_hw_params_t, params_deleter>;
using sw_params_ptr = std::unique_ptr<snd_pcm_sw_params_t, params_deleter>;

hw_params_ptr make_hw_params() {
    snd_pcm_hw_params_t* params = nullptr;
    return hw_params_ptr(snd_pcm_hw_params_malloc(&params) == 0 ? params : nullptr);
}

sw_params_ptr make_sw_params() {
    snd_pcm_sw_params_t* params = nullptr;
    return sw_params_ptr(snd_pcm_sw_params_malloc(&params) == 0 ? params : nullptr);
}

std::string range(unsigned long low, unsigned long high, const char* unit) {
    std::string text = std::to_string(low);
    if (high != low) {
        text += " to " + std::to_string(high);
    }
    return text + unit;
}

// What the device can do whatever the other parameters are.
std::string describe_device(snd_pcm_t* stream) {
    const hw_params_ptr params = make_hw_params();
    if (!params || snd_pcm_hw_params_any(stream, params.get()) < 0) {
        return "nothing that it tells";
    }
    unsigned low = 0;
    unsigned high = 0;
    snd_pcm_hw_params_get_channels_min(params.get(), &low);
    snd_pcm_hw_params_get_channels_max(params.get(), &high);
    std::string text = range(low, high, " channels, ");
    int direction = 0;
    snd_pcm_hw_params_get_rate_min(params.get(), &low, &direction);
    snd_pcm_hw_params_get_rate_max(params.get(), &high, &direction);
    text += range(low, high, " Hz,");
    for (int format = 0; format < kFormatCount; ++format) {
        if (snd_pcm_hw_params_test_format(stream, params.get(), kAlsaFormats[format]) == 0) {
            text += std::string(" ") + find_format(format)->name;
        }
    }
    return text;
}

// What is left for the buffer once everything before it is chosen.
std::string describe_periods(const snd_pcm_hw_params_t* params) {
    unsigned few = 0;
    unsigned many = 0;
    snd_pcm_uframes_t small = 0;
    snd_pcm_uframes_t large = 0;
    int direction = 0;
    snd_pcm_hw_params_get_periods_min(params, &few, &direction);
    snd_pcm_hw_params_get_periods_max(params, &many, &direction);
    snd_pcm_hw_params_get_period_size_min(params, &small, &direction);
    snd_pcm_hw_params_get_period_size_max(params, &large, &direction);
    return range(few, many, " periods of ") + range(small, large, " frames");
}

int set_access(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    return snd_pcm_hw_params_set_access(stream, params,
                                        (handle.flags & PCM_MMAP) != 0
                                            ? SND_PCM_ACCESS_MMAP_INTERLEAVED
                                            : SND_PCM_ACCESS_RW_INTERLEAVED);
}

int set_format(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    return snd_pcm_hw_params_set_format(stream, params, kAlsaFormats[format_value(handle.config)]);
}

int set_channels(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    return snd_pcm_hw_params_set_channels(stream, params, handle.config.channels);
}

int set_rate(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    return snd_pcm_hw_params_set_rate(stream, params, handle.config.rate, 0);
}

int set_period_count(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    return snd_pcm_hw_params_set_periods(stream, params, handle.config.period_count, 0);
}

// The size that was asked for, or the next larger one that the device has.
int set_period_size(const pcm& handle, snd_pcm_t* stream, snd_pcm_hw_params_t* params) {
    snd_pcm_uframes_t frames = handle.config.period_size;
    int direction = 0;
    const int error = snd_pcm_hw_params_set_period_size_min(stream, params, &frames, &direction);
    if (error < 0) {
        return error;
    }
    return snd_pcm_hw_params_set_period_size_first(stream, params, &frames, &direction);
}

struct hw_step {
    const char* name;
    int (*set)(const pcm&, snd_pcm_t*, snd_pcm_hw_params_t*);
    bool about_periods;
};

// In this order: the period count is exact, so it goes before the size, which may give way.
constexpr hw_step kHwSteps[] = {
    {"this kind of access", set_access, false},    {"this sample format", set_format, false},
    {"this many channels", set_channels, false},   {"this rate", set_rate, false},
    {"this period count", set_period_count, true}, {"periods this long", set_period_size, true},
};

unsigned long or_default(unsigned long wanted, unsigned long otherwise) {
    return wanted != 0 ? wanted : otherwise;
}

}  // namespace

int set_hardware_params(pcm& handle, snd_pcm_t* stream, std::string& reason) {
    const hw_params_ptr params = make_hw_params();
    if (!params) {
        reason = "memory is short";
        return -ENOMEM;
    }
    int error = snd_pcm_hw_params_any(stream, params.get());
    if (error < 0) {
        reason = "it offers no configuration at all";
        return error;
    }
    for (const hw_step& step : kHwSteps) {
        error = step.set(handle, stream, params.get());
        if (error < 0) {
            reason =
                std::string("it cannot do ") + step.name + "; it offers " +
                (step.about_periods ? describe_periods(params.get()) : describe_device(stream));
            return error;
        }
    }
    error = snd_pcm_hw_params(stream, params.get());
    if (error < 0) {
        reason = "it refused these parameters together";
        return error;
    }
    snd_pcm_uframes_t period_frames = 0;
    snd_pcm_uframes_t buffer_frames = 0;
    int direction = 0;
    snd_pcm_hw_params_get_period_size(params.get(), &period_frames, &direction);
    snd_pcm_hw_params_get_buffer_size(params.get(), &buffer_frames);
    if (period_frames == 0 || buffer_frames == 0) {
        reason = "it gave an empty buffer";
        return -EIO;
    }
    handle.config.period_size = static_cast<unsigned>(period_frames);
    handle.buffer_frames = static_cast<unsigned>(buffer_frames);
    return 0;
}

int set_software_params(pcm& handle, snd_pcm_t* stream, std::string& reason) {
    const sw_params_ptr params = make_sw_params();
    if (!params) {
        reason = "memory is short";
        return -ENOMEM;
    }
    reason = "it refused the thresholds";
    if (const int error = snd_pcm_sw_params_current(stream, params.get()); error < 0) {
        return error;
    }
    // Positions wrap at the boundary, so a threshold there is never reached.
    snd_pcm_uframes_t boundary = 0;
    snd_pcm_sw_params_get_boundary(params.get(), &boundary);

    const unsigned long buffer = handle.buffer_frames;
    const bool capture = handle.is_capture();
    pcm_config& config = handle.config;
    // A start above the buffer would let a blocking write wait for a stream that never starts, and
    // an avail_min above it would never wake the writer.
    config.start_threshold = std::min(
        or_default(config.start_threshold, capture ? 1 : std::max(buffer / 2, 1ul)), buffer);
    const unsigned long ten_buffers = buffer <= boundary / 10 ? buffer * 10 : boundary;
    config.stop_threshold = std::min<unsigned long>(
        or_default(config.stop_threshold, capture ? ten_buffers : buffer), boundary);
    config.avail_min = std::min(or_default(config.avail_min, config.period_size), buffer);
    config.silence_size = std::min<unsigned long>(config.silence_size, boundary);

    struct {
        int (*set)(snd_pcm_t*, snd_pcm_sw_params_t*, snd_pcm_uframes_t);
        unsigned long value;
        bool wanted;
    } const steps[] = {
        {snd_pcm_sw_params_set_start_threshold, config.start_threshold, true},
        {snd_pcm_sw_params_set_stop_threshold, config.stop_threshold, true},
        {snd_pcm_sw_params_set_avail_min, config.avail_min, true},
        // alsa-lib checks the size against the threshold that is already there.
        {snd_pcm_sw_params_set_silence_threshold, config.silence_threshold,
         config.silence_threshold != 0},
        {snd_pcm_sw_params_set_silence_size, config.silence_size, config.silence_size != 0},
    };
    for (const auto& step : steps) {
        if (const int error = step.wanted ? step.set(stream, params.get(), step.value) : 0;
            error < 0) {
            return error;
        }
    }
    int error = snd_pcm_sw_params_set_tstamp_mode(stream, params.get(), SND_PCM_TSTAMP_ENABLE);
    if (error == 0) {
        error = snd_pcm_sw_params_set_tstamp_type(stream, params.get(),
                                                  handle.clock() == CLOCK_MONOTONIC
                                                      ? SND_PCM_TSTAMP_TYPE_MONOTONIC
                                                      : SND_PCM_TSTAMP_TYPE_GETTIMEOFDAY);
    }
    return error < 0 ? error : snd_pcm_sw_params(stream, params.get());
}

}  // namespace tinyalsa
