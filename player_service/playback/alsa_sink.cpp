#include "player_service/playback/alsa_sink.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "player_service/log.h"

namespace player_service {

namespace {

// alsa-lib explains itself on standard error otherwise.
[[gnu::format(printf, 5, 6)]] void log_alsa_message(const char*, int, const char* function, int,
                                                    const char* format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    LOGD("alsa-lib: %s: %s", function, line);
}

}  // namespace

alsa_sink::pcm_ptr alsa_sink::open_pcm(const std::string& name, int& error) {
    snd_lib_error_set_handler(log_alsa_message);
    snd_pcm_t* opened = nullptr;
    error = snd_pcm_open(&opened, name.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    return pcm_ptr(error < 0 ? nullptr : opened);
}

std::string alsa_sink::check(const std::string& name) {
    int error = 0;
    const pcm_ptr pcm = open_pcm(name, error);
    return pcm != nullptr || error == -EBUSY ? "" : snd_strerror(error);
}

std::unique_ptr<alsa_sink> alsa_sink::open(const std::string& name, const audio_format& format,
                                           std::chrono::milliseconds buffer, std::string& reason) {
    int error = 0;
    pcm_ptr pcm = open_pcm(name, error);
    if (pcm != nullptr) {
        const std::chrono::microseconds latency(buffer);
        error = snd_pcm_set_params(pcm.get(), SND_PCM_FORMAT_S16, SND_PCM_ACCESS_RW_INTERLEAVED,
                                   format.channels, format.rate_hz, 1,
                                   static_cast<unsigned>(latency.count()));
    }
    if (error < 0) {
        reason = "ALSA PCM '" + name + "' does not play " + std::to_string(format.channels) +
                 " channels at " + std::to_string(format.rate_hz) + " Hz: " + snd_strerror(error);
        return nullptr;
    }
    return std::unique_ptr<alsa_sink>(new alsa_sink(std::move(pcm), format));
}

alsa_sink::alsa_sink(pcm_ptr pcm, const audio_format& format)
    : pcm_(std::move(pcm)), rate_hz_(format.rate_hz) {}

long alsa_sink::write(const int16_t* samples, size_t frames) {
    // A pause lets the card run dry, so that the first write behind it has to prepare the card.
    for (int tries = 0; tries < 2; ++tries) {
        const snd_pcm_sframes_t taken = snd_pcm_writei(pcm_.get(), samples, frames);
        if (taken >= 0) {
            return static_cast<long>(taken);
        }
        if (taken == -EAGAIN) {
            return 0;
        }
        ran_dry_ = ran_dry_ || taken == -EPIPE;
        if (snd_pcm_recover(pcm_.get(), static_cast<int>(taken), 1) < 0) {
            LOGE("the sound card has failed: %s", snd_strerror(static_cast<int>(taken)));
            return -1;
        }
    }
    return 0;
}

std::chrono::nanoseconds alsa_sink::until_room() const {
    constexpr std::chrono::milliseconds shortest(2);
    constexpr std::chrono::milliseconds longest(20);
    return std::clamp<std::chrono::nanoseconds>(delay() / 4, shortest, longest);
}

// A stream shorter than the card's buffer has not started it.
bool alsa_sink::waits_for_more() const {
    return snd_pcm_state(pcm_.get()) == SND_PCM_STATE_PREPARED;
}

void alsa_sink::end() {
    if (waits_for_more()) {
        snd_pcm_start(pcm_.get());
    }
}

std::chrono::nanoseconds alsa_sink::delay() const {
    snd_pcm_sframes_t frames = 0;
    if (snd_pcm_state(pcm_.get()) != SND_PCM_STATE_RUNNING ||
        snd_pcm_delay(pcm_.get(), &frames) < 0 || frames < 0) {
        return {};
    }
    return std::chrono::nanoseconds(frames * 1000000000LL / rate_hz_);
}

}  // namespace player_service
