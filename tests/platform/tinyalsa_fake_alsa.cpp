extern "C" {
#include <alsa/asoundlib.h>
}

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "tinyalsa_fake_alsa.h"

fake_alsa fake;

int fake_alsa::enter(const std::string& function) {
    ++calls[function];
    if (++fallible_calls == failing_call) {
        return -EIO;
    }
    const auto found = failures.find(function);
    return found != failures.end() ? found->second : 0;
}

struct _snd_pcm {
    int unused;
};
struct _snd_pcm_hw_params {
    unsigned channels, rate, periods;
    snd_pcm_uframes_t period_size;
};
struct _snd_pcm_sw_params {
    std::map<std::string, unsigned long> values;
};
struct _snd_pcm_status {
    snd_pcm_state_t state;
    snd_pcm_uframes_t avail;
    timespec stamp;
};

namespace {

int within(int entered, unsigned long value, unsigned long low, unsigned long high) {
    return entered < 0 ? entered : value >= low && value <= high ? 0 : -EINVAL;
}

void send_message(const char* format, ...) {
    va_list args;
    va_start(args, format);
    fake.error_handler("conf.c", 1, "open", 0, format, args);
    va_end(args);
}

int set_software(const char* function, snd_pcm_sw_params_t* params, unsigned long value) {
    params->values[function] = value;
    return fake.enter(function);
}

// The state machine of a stream around one transfer, and its scripted result.
long transfer_result(const char* function, snd_pcm_uframes_t frames) {
    ++fake.calls[function];
    if (fake.state == SND_PCM_STATE_SETUP) {
        return -EBADFD;
    }
    if (fake.state == SND_PCM_STATE_XRUN) {
        return -EPIPE;
    }
    if (fake.direction == SND_PCM_STREAM_CAPTURE && fake.state == SND_PCM_STATE_PREPARED) {
        return -EAGAIN;  // Nothing arrives before the start.
    }
    fake.state = SND_PCM_STATE_RUNNING;
    long result = static_cast<long>(frames);
    if (!fake.results.empty()) {
        result = std::min(fake.results.front(), result);
        if (!fake.repeat_last_result || fake.results.size() > 1) {
            fake.results.pop_front();
        }
    }
    if (result == -EPIPE || result == -ESTRPIPE) {
        fake.state = SND_PCM_STATE_XRUN;
    }
    return result;
}

constexpr size_t kFrameBytes = 4;

snd_pcm_sframes_t take(const char* function, const void* data, snd_pcm_uframes_t frames) {
    const long moved = transfer_result(function, frames);
    if (moved > 0) {
        const char* bytes = static_cast<const char*>(data);
        fake.written.insert(fake.written.end(), bytes,
                            bytes + static_cast<size_t>(moved) * kFrameBytes);
    }
    return moved;
}

snd_pcm_sframes_t give(const char* function, void* data, snd_pcm_uframes_t frames) {
    const long moved = transfer_result(function, frames);
    for (size_t i = 0; moved > 0 && i < static_cast<size_t>(moved) * kFrameBytes; ++i) {
        static_cast<unsigned char*>(data)[i] = static_cast<unsigned char>(fake.next_read_byte++);
    }
    return moved;
}

}  // namespace

extern "C" {

snd_local_error_handler_t snd_lib_error_set_local(snd_local_error_handler_t handler) {
    return std::exchange(fake.error_handler, handler);
}

const char* snd_strerror(int error) {
    return std::strerror(-error);
}

int snd_pcm_open(snd_pcm_t** pcm, const char* name, snd_pcm_stream_t stream, int mode) {
    fake.name = name;
    fake.direction = stream;
    fake.open_mode = mode;
    fake.blocking = (mode & SND_PCM_NONBLOCK) == 0;
    const int error = fake.enter("open");
    if (error < 0) {
        if (!fake.message.empty()) {
            send_message("an outer layer's complaint");
            send_message("%s", fake.message.c_str());
        }
        return error;
    }
    *pcm = new snd_pcm_t();
    ++fake.open_streams;
    fake.state = SND_PCM_STATE_OPEN;
    return 0;
}

int snd_pcm_close(snd_pcm_t* pcm) {
    delete pcm;
    --fake.open_streams;
    return 0;
}

int snd_pcm_nonblock(snd_pcm_t*, int nonblock) {
    fake.blocking = nonblock == 0;
    return fake.enter("nonblock");
}

snd_pcm_state_t snd_pcm_state(snd_pcm_t*) {
    return fake.state;
}

int snd_pcm_prepare(snd_pcm_t*) {
    const int error = fake.enter("prepare");
    fake.state = error == 0 ? SND_PCM_STATE_PREPARED : fake.state;
    return error;
}

int snd_pcm_start(snd_pcm_t*) {
    const int error = fake.enter("start");
    fake.state = error == 0 ? SND_PCM_STATE_RUNNING : fake.state;
    return error;
}

int snd_pcm_drop(snd_pcm_t*) {
    fake.state = SND_PCM_STATE_SETUP;
    return fake.enter("drop");
}

int snd_pcm_wait(snd_pcm_t*, int) {
    return fake.enter("wait");
}

snd_pcm_sframes_t snd_pcm_writei(snd_pcm_t*, const void* data, snd_pcm_uframes_t frames) {
    return take("writei", data, frames);
}
snd_pcm_sframes_t snd_pcm_mmap_writei(snd_pcm_t*, const void* data, snd_pcm_uframes_t frames) {
    return take("mmap_writei", data, frames);
}
snd_pcm_sframes_t snd_pcm_readi(snd_pcm_t*, void* data, snd_pcm_uframes_t frames) {
    return give("readi", data, frames);
}
snd_pcm_sframes_t snd_pcm_mmap_readi(snd_pcm_t*, void* data, snd_pcm_uframes_t frames) {
    return give("mmap_readi", data, frames);
}

int snd_pcm_hw_params_malloc(snd_pcm_hw_params_t** params) {
    const int error = fake.enter("hw_params_malloc");
    if (error == 0) {
        *params = new snd_pcm_hw_params_t();
        ++fake.live_params;
    }
    return error;
}
void snd_pcm_hw_params_free(snd_pcm_hw_params_t* params) {
    delete params;
    --fake.live_params;
}
int snd_pcm_hw_params_any(snd_pcm_t*, snd_pcm_hw_params_t* params) {
    *params = {};
    return fake.enter("hw_params_any");
}
int snd_pcm_hw_params_set_access(snd_pcm_t*, snd_pcm_hw_params_t*, snd_pcm_access_t access) {
    fake.software["access"] = access;
    return fake.enter("set_access");
}
int snd_pcm_hw_params_test_format(snd_pcm_t*, snd_pcm_hw_params_t*, snd_pcm_format_t format) {
    return std::count(fake.formats.begin(), fake.formats.end(), format) > 0 ? 0 : -EINVAL;
}
int snd_pcm_hw_params_set_format(snd_pcm_t* pcm, snd_pcm_hw_params_t* params,
                                 snd_pcm_format_t format) {
    const int error = fake.enter("set_format");
    fake.software["format"] = static_cast<unsigned long>(format);
    return error < 0 ? error : snd_pcm_hw_params_test_format(pcm, params, format);
}
int snd_pcm_hw_params_set_channels(snd_pcm_t*, snd_pcm_hw_params_t* params, unsigned value) {
    params->channels = value;
    return within(fake.enter("set_channels"), value, fake.channels_min, fake.channels_max);
}
int snd_pcm_hw_params_set_rate(snd_pcm_t*, snd_pcm_hw_params_t* params, unsigned value, int) {
    params->rate = value;
    return within(fake.enter("set_rate"), value, fake.rate_min, fake.rate_max);
}
int snd_pcm_hw_params_set_periods(snd_pcm_t*, snd_pcm_hw_params_t* params, unsigned value, int) {
    params->periods = value;
    return within(fake.enter("set_periods"), value, fake.periods_min, fake.periods_max);
}
int snd_pcm_hw_params_set_period_size_min(snd_pcm_t*, snd_pcm_hw_params_t* params,
                                          snd_pcm_uframes_t* value, int*) {
    const snd_pcm_uframes_t step = fake.period_step;
    *value = std::max((*value + step - 1) / step * step, fake.period_min);
    params->period_size = *value;
    return within(fake.enter("set_period_size_min"), *value, fake.period_min, fake.period_max);
}
int snd_pcm_hw_params_set_period_size_first(snd_pcm_t*, snd_pcm_hw_params_t* params,
                                            snd_pcm_uframes_t* value, int*) {
    *value = params->period_size;
    return fake.enter("set_period_size_first");
}
int snd_pcm_hw_params(snd_pcm_t*, snd_pcm_hw_params_t*) {
    const int error = fake.enter("hw_params");
    fake.state = error == 0 ? SND_PCM_STATE_PREPARED : fake.state;
    return error;
}

#define FAKE_RANGE(what, type, low, high)                                                   \
    int snd_pcm_hw_params_get_##what##_min(const snd_pcm_hw_params_t*, type* value, int*) { \
        *value = low;                                                                       \
        return 0;                                                                           \
    }                                                                                       \
    int snd_pcm_hw_params_get_##what##_max(const snd_pcm_hw_params_t*, type* value, int*) { \
        *value = high;                                                                      \
        return 0;                                                                           \
    }
FAKE_RANGE(rate, unsigned, fake.rate_min, fake.rate_max)
FAKE_RANGE(periods, unsigned, fake.periods_min, fake.periods_max)
FAKE_RANGE(period_size, snd_pcm_uframes_t, fake.period_min, fake.period_max)
#undef FAKE_RANGE

int snd_pcm_hw_params_get_channels_min(const snd_pcm_hw_params_t*, unsigned* value) {
    *value = fake.channels_min;
    return 0;
}
int snd_pcm_hw_params_get_channels_max(const snd_pcm_hw_params_t*, unsigned* value) {
    *value = fake.channels_max;
    return 0;
}
int snd_pcm_hw_params_get_period_size(const snd_pcm_hw_params_t* params, snd_pcm_uframes_t* value,
                                      int*) {
    *value = params->period_size;
    return 0;
}
int snd_pcm_hw_params_get_buffer_size(const snd_pcm_hw_params_t* params, snd_pcm_uframes_t* value) {
    *value = params->period_size * params->periods;
    return 0;
}

int snd_pcm_sw_params_malloc(snd_pcm_sw_params_t** params) {
    const int error = fake.enter("sw_params_malloc");
    if (error == 0) {
        *params = new snd_pcm_sw_params_t();
        ++fake.live_params;
    }
    return error;
}
void snd_pcm_sw_params_free(snd_pcm_sw_params_t* params) {
    delete params;
    --fake.live_params;
}
int snd_pcm_sw_params_current(snd_pcm_t*, snd_pcm_sw_params_t*) {
    return fake.enter("sw_params_current");
}
int snd_pcm_sw_params_get_boundary(const snd_pcm_sw_params_t*, snd_pcm_uframes_t* value) {
    *value = fake.boundary;
    return 0;
}
int snd_pcm_sw_params_set_start_threshold(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                          snd_pcm_uframes_t value) {
    return set_software("start_threshold", params, value);
}
int snd_pcm_sw_params_set_stop_threshold(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                         snd_pcm_uframes_t value) {
    return set_software("stop_threshold", params, value);
}
int snd_pcm_sw_params_set_avail_min(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                    snd_pcm_uframes_t value) {
    return set_software("avail_min", params, value);
}
int snd_pcm_sw_params_set_silence_threshold(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                            snd_pcm_uframes_t value) {
    return set_software("silence_threshold", params, value);
}
// As the real one: a silence is never longer than the threshold that is set by now.
int snd_pcm_sw_params_set_silence_size(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                       snd_pcm_uframes_t value) {
    const auto found = params->values.find("silence_threshold");
    const unsigned long threshold = found != params->values.end() ? found->second : 0;
    const int error = set_software("silence_size", params, value);
    return value < fake.boundary && value > threshold ? -EINVAL : error;
}
int snd_pcm_sw_params_set_tstamp_mode(snd_pcm_t*, snd_pcm_sw_params_t* params, snd_pcm_tstamp_t v) {
    return set_software("tstamp_mode", params, static_cast<unsigned long>(v));
}
int snd_pcm_sw_params_set_tstamp_type(snd_pcm_t*, snd_pcm_sw_params_t* params,
                                      snd_pcm_tstamp_type_t value) {
    return set_software("tstamp_type", params, static_cast<unsigned long>(value));
}
int snd_pcm_sw_params(snd_pcm_t*, snd_pcm_sw_params_t* params) {
    for (const auto& [name, value] : params->values) {
        fake.software[name] = value;
    }
    return fake.enter("sw_params");
}

size_t snd_pcm_status_sizeof(void) {
    return sizeof(snd_pcm_status_t);
}
int snd_pcm_status(snd_pcm_t*, snd_pcm_status_t* status) {
    *status = {fake.state, fake.avail, fake.stamp};
    return fake.enter("status");
}
snd_pcm_state_t snd_pcm_status_get_state(const snd_pcm_status_t* status) {
    return status->state;
}
snd_pcm_uframes_t snd_pcm_status_get_avail(const snd_pcm_status_t* status) {
    return status->avail;
}
void snd_pcm_status_get_htstamp(const snd_pcm_status_t* status, snd_htimestamp_t* stamp) {
    *stamp = status->stamp;
}

}  // extern "C"
