// Opening: checks the request, finds the target, and hands over to the back end that serves it.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <tinyalsa/pcm.h>

#include "pcm_format.h"
#include "pcm_handle.h"

namespace tinyalsa {

namespace {

constexpr unsigned kKnownFlags =
    PCM_IN | PCM_MMAP | PCM_NOIRQ | PCM_NORESTART | PCM_MONOTONIC | PCM_NONBLOCK;
constexpr char kWavPrefix[] = "wav:";

// A buffer's bytes must be countable in an int, as the kernel counts them. Everything computed from
// a checked request then fits in 32 bits too.
constexpr uint64_t kMaxBufferBytes = INT32_MAX;

// Why the request is impossible on any device; null when it is not. Sets the frame size.
const char* find_fault(pcm& handle) {
    const pcm_config& config = handle.config;
    const sample_format* samples = find_format(format_value(config));
    if ((handle.flags & ~kKnownFlags) != 0) {
        return "the flags hold unknown bits";
    }
    if (samples == nullptr) {
        return "the format is none of pcm_format";
    }
    if (config.channels == 0) {
        return "there must be at least 1 channel";
    }
    if (config.rate == 0 || config.rate > INT32_MAX) {
        return "the rate must be at least 1 Hz and fit in 31 bits";
    }
    if (config.period_size == 0 || config.period_count == 0) {
        return "there must be at least 1 period of at least 1 frame";
    }
    const uint64_t frame_bytes = uint64_t{config.channels} * samples->bytes;
    const uint64_t frames = uint64_t{config.period_size} * config.period_count;
    if (frame_bytes > kMaxBufferBytes || frames > kMaxBufferBytes / frame_bytes) {
        return "the buffer would be larger than 2 GiB";
    }
    handle.frame_bytes = static_cast<unsigned>(frame_bytes);
    return nullptr;
}

// The target, and through `backend` who serves it.
pcm_target find_target(unsigned card, unsigned device, bool capture, const pcm_backend*& backend) {
    pcm_target target = {};
    target.card = card;
    target.device = device;
    target.variable = pcm_target_variables[capture ? 1 : 0];
    const char* name = std::getenv(target.variable);
    target.from_variable = name != nullptr && *name != '\0';
    backend = &kAlsaBackend;
    if (!target.from_variable) {
        target.name = "hw:" + std::to_string(card) + "," + std::to_string(device);
    } else if (std::strncmp(name, kWavPrefix, sizeof kWavPrefix - 1) == 0) {
        target.name = name + sizeof kWavPrefix - 1;
        backend = capture ? &kWavCaptureBackend : &kWavPlaybackBackend;
    } else {
        target.name = name;
    }
    return target;
}

// Leaves the handle ready, or with the text that says why not.
void open_handle(pcm& handle, unsigned card, unsigned device, const pcm_config* config) {
    const pcm_backend* backend = nullptr;
    const pcm_target target = find_target(card, device, handle.is_capture(), backend);
    handle.name = target.name;
    if (config == nullptr) {
        fail_open(handle, target, -EINVAL, "no configuration was given");
        return;
    }
    handle.config = *config;
    if (const char* fault = find_fault(handle)) {
        fail_open(handle, target, -EINVAL, "%s", fault);
        return;
    }
    if (backend->open(handle, target) == 0) {
        handle.backend = backend;
    }
}

}  // namespace

}  // namespace tinyalsa

const char* const pcm_target_variables[2] = {"CORVEX_ALSA_PLAYBACK", "CORVEX_ALSA_CAPTURE"};

pcm* pcm_open(unsigned card, unsigned device, unsigned flags, const pcm_config* config) {
    try {
        auto handle = std::make_unique<pcm>();
        handle->flags = flags;
        tinyalsa::open_handle(*handle, card, device, config);
        return handle.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
