#include "tinyalsa_fake_alsa.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

fake_alsa fake;

struct _snd_pcm {};
struct _snd_pcm_hw_params {};
struct _snd_pcm_sw_params {};

namespace {

// The result of a call that the card takes as it is or does not, unless it is to fail.
int enter(const std::string& function, bool taken = true) {
    ++fake.calls[function];
    if (++fake.fallible_calls == fake.failing_call) {
        return -EIO;
    }
    const auto found = fake.failures.find(function);
    return found != fake.failures.end() ? found->second : taken ? 0 : -EINVAL;
}

bool ask(const char* what, unsigned long value, unsigned long low = 0, unsigned long high = ~0ul) {
    fake.asked[what] = value;
    return value >= low && value <= high;
}

bool put_in_force(snd_pcm_state_t state) {
    fake.set = fake.asked;
    fake.state = state;
    return true;
}

template <typename Object>
int make(const char* function, Object** object) {
    const int error = enter(function);
    *object = error == 0 ? new Object() : nullptr;
    fake.live += error == 0;
    return error;
}

template <typename Object>
void give_back(Object* object) {
    delete object;
    --fake.live;
}

void send_message(const char* format, ...) {
    va_list args;
    va_start(args, format);
    fake.error_handler("conf.c", 1, "open", 0, format, args);
    va_end(args);
}

// The state machine of a stream around one transfer, and its scripted result.
long transfer(const char* function, const void* from, void* to, snd_pcm_uframes_t frames) {
    ++fake.calls[function];
    if (fake.state == SND_PCM_STATE_OPEN || fake.state == SND_PCM_STATE_SETUP) {
        return -EBADFD;
    }
    if (fake.state == SND_PCM_STATE_XRUN) {
        return -EPIPE;
    }
    if (fake.direction == SND_PCM_STREAM_CAPTURE && fake.state == SND_PCM_STATE_PREPARED) {
        return -EAGAIN;  // Nothing arrives before the start.
    }
    long result = static_cast<long>(frames);
    if (!fake.results.empty()) {
        result = std::min(fake.results.front(), result);
        if (!fake.repeat_last_result || fake.results.size() > 1) {
            fake.results.pop_front();
        }
    }
    fake.state =
        result == -EPIPE || result == -ESTRPIPE ? SND_PCM_STATE_XRUN : SND_PCM_STATE_RUNNING;
    for (long i = 0; i < result * 4; ++i) {
        fake.moved +=
            from ? static_cast<const char*>(from)[i] : static_cast<char>(fake.moved.size());
        if (to != nullptr) {
            static_cast<char*>(to)[i] = fake.moved.back();
        }
    }
    return result;
}

}  // namespace

extern "C" {

using hw = snd_pcm_hw_params_t;
using sw = snd_pcm_sw_params_t;
using uframes = snd_pcm_uframes_t;
using pcm_t = snd_pcm_t;
using status_t = snd_pcm_status_t;
using sframes = snd_pcm_sframes_t;

// snd_pcm_FUNCTION, which the card takes when the last argument is true.
#define FAKE(function, parameters, taken) \
    int snd_pcm_##function parameters {   \
        return enter(#function, taken);   \
    }

FAKE(nonblock, (pcm_t*, int v), ((fake.blocking = v == 0), true))
FAKE(prepare, (pcm_t*), put_in_force(SND_PCM_STATE_PREPARED))
FAKE(start, (pcm_t*), put_in_force(SND_PCM_STATE_RUNNING))
FAKE(drop, (pcm_t*), put_in_force(SND_PCM_STATE_SETUP))
FAKE(wait, (pcm_t*, int), true)
FAKE(status, (pcm_t*, status_t*), true)

FAKE(hw_params_any, (pcm_t*, hw*), true)
FAKE(hw_params_set_access, (pcm_t*, hw*, snd_pcm_access_t v), ask("access", v))
FAKE(hw_params_set_channels, (pcm_t*, hw*, unsigned v), ask("channels", v, 1, 2))
FAKE(hw_params_set_rate, (pcm_t*, hw*, unsigned v, int), ask("rate", v, 8000, 192000))
FAKE(hw_params_set_periods, (pcm_t*, hw*, unsigned v, int), ask("periods", v, 2, 32))
FAKE(hw_params_set_period_size_min, (pcm_t*, hw*, uframes* v, int*),
     ask("period", *v = std::max((*v + 15) / 16 * 16, 64ul), 64, 4096))
FAKE(hw_params_set_period_size_first, (pcm_t*, hw*, uframes* v, int*),
     (*v = fake.asked["period"], true))
FAKE(hw_params, (pcm_t*, hw*), put_in_force(SND_PCM_STATE_PREPARED))
FAKE(hw_params_test_format, (pcm_t*, hw*, snd_pcm_format_t v),
     std::count(fake.formats.begin(), fake.formats.end(), v) > 0)
FAKE(hw_params_set_format, (pcm_t*, hw*, snd_pcm_format_t v),
     std::count(fake.formats.begin(), fake.formats.end(), v) > 0)

FAKE(sw_params_current, (pcm_t*, sw*), true)
FAKE(sw_params_set_start_threshold, (pcm_t*, sw*, uframes v), ask("start", v))
FAKE(sw_params_set_stop_threshold, (pcm_t*, sw*, uframes v), ask("stop", v))
FAKE(sw_params_set_avail_min, (pcm_t*, sw*, uframes v), ask("avail_min", v))
FAKE(sw_params_set_silence_threshold, (pcm_t*, sw*, uframes v), ask("silence", v))
// As the real one: a silence is never longer than the threshold that is set by now.
FAKE(sw_params_set_silence_size, (pcm_t*, sw*, uframes v),
     ask("silence_size", v, 0, fake.asked["silence"]))
FAKE(sw_params_set_tstamp_mode, (pcm_t*, sw*, snd_pcm_tstamp_t v), ask("stamps", v))
FAKE(sw_params_set_tstamp_type, (pcm_t*, sw*, snd_pcm_tstamp_type_t v), ask("clock", v))
FAKE(sw_params, (pcm_t*, sw*), put_in_force(fake.state))

// snd_pcm_FUNCTION, which gives an answer and cannot fail.
#define ANSWER(type, function, parameters, answer) \
    type snd_pcm_##function parameters {           \
        return answer;                             \
    }

ANSWER(int, hw_params_get_channels_min, (const hw*, unsigned* v), (*v = 1, 0))
ANSWER(int, hw_params_get_channels_max, (const hw*, unsigned* v), (*v = 2, 0))
ANSWER(int, hw_params_get_rate_min, (const hw*, unsigned* v, int*), (*v = 8000, 0))
ANSWER(int, hw_params_get_rate_max, (const hw*, unsigned* v, int*), (*v = 192000, 0))
ANSWER(int, hw_params_get_periods_min, (const hw*, unsigned* v, int*), (*v = 2, 0))
ANSWER(int, hw_params_get_periods_max, (const hw*, unsigned* v, int*), (*v = 32, 0))
ANSWER(int, hw_params_get_period_size_min, (const hw*, uframes* v, int*), (*v = 64, 0))
ANSWER(int, hw_params_get_period_size_max, (const hw*, uframes* v, int*), (*v = 4096, 0))
ANSWER(int, hw_params_get_period_size, (const hw*, uframes* v, int*), (*v = fake.set["period"], 0))
ANSWER(int, hw_params_get_buffer_size, (const hw*, uframes* v),
       (*v = fake.set["period"] * fake.set["periods"], 0))
ANSWER(int, sw_params_get_boundary, (const sw*, uframes* v), (*v = 1ul << 30, 0))
ANSWER(int, hw_params_malloc, (hw * *params), make("hw_params_malloc", params))
ANSWER(void, hw_params_free, (hw * params), give_back(params))
ANSWER(int, sw_params_malloc, (sw * *params), make("sw_params_malloc", params))
ANSWER(void, sw_params_free, (sw * params), give_back(params))
ANSWER(int, close, (pcm_t * pcm), (give_back(pcm), 0))
ANSWER(sframes, writei, (pcm_t*, const void* data, uframes frames),
       transfer("writei", data, nullptr, frames))
ANSWER(sframes, mmap_writei, (pcm_t*, const void* data, uframes frames),
       transfer("mmap_writei", data, nullptr, frames))
ANSWER(sframes, readi, (pcm_t*, void* data, uframes frames),
       transfer("readi", nullptr, data, frames))
ANSWER(sframes, mmap_readi, (pcm_t*, void* data, uframes frames),
       transfer("mmap_readi", nullptr, data, frames))
ANSWER(snd_pcm_state_t, state, (pcm_t*), fake.state)
ANSWER(sframes, avail_update, (pcm_t*),
       fake.state == SND_PCM_STATE_XRUN ? -EPIPE : static_cast<sframes>(fake.avail))
ANSWER(size_t, status_sizeof, (), 1)
ANSWER(snd_pcm_state_t, status_get_state, (const status_t*), fake.state)
ANSWER(uframes, status_get_avail, (const status_t*), fake.avail)
ANSWER(void, status_get_htstamp, (const status_t*, timespec* stamp), void(*stamp = fake.stamp))

int snd_pcm_open(snd_pcm_t** pcm, const char* name, snd_pcm_stream_t stream, int mode) {
    fake.name = name;
    fake.direction = stream;
    fake.opened_blocking = fake.blocking = (mode & SND_PCM_NONBLOCK) == 0;
    const int error = make("open", pcm);
    if (error < 0 && !fake.message.empty()) {
        send_message("an outer layer's complaint");
        send_message("%s", fake.message.c_str());
    }
    return error;
}
snd_local_error_handler_t snd_lib_error_set_local(snd_local_error_handler_t handler) {
    return std::exchange(fake.error_handler, handler);
}
const char* snd_strerror(int error) {
    return std::strerror(-error);
}

}  // extern "C"
