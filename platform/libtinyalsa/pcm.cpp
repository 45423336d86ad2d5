// The public functions: argument checks and sizes. What differs between devices is behind the
// handle's back end.

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include <tinyalsa/pcm.h>

#include "pcm_format.h"
#include "pcm_handle.h"

namespace tinyalsa {

namespace {

// A path or a library's message may hold line ends, and an error text is one line of a log.
void make_one_line(char* text) {
    for (; *text != '\0'; ++text) {
        if (static_cast<unsigned char>(*text) < ' ') {
            *text = '?';
        }
    }
}

}  // namespace

int fail(pcm& handle, int error, const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(handle.error, sizeof handle.error, format, args);
    va_end(args);
    make_one_line(handle.error);
    return error;
}

int fail_open(pcm& handle, const pcm_target& target, int error, const char* format, ...) {
    char reason[400];
    va_list args;
    va_start(args, format);
    std::vsnprintf(reason, sizeof reason, format, args);
    va_end(args);

    const pcm_config& config = handle.config;
    const sample_format* samples = find_format(format_value(config));
    char origin[64];
    if (target.from_variable) {
        std::snprintf(origin, sizeof origin, "from %s", target.variable);
    } else {
        std::snprintf(origin, sizeof origin, "card %u, device %u", target.card, target.device);
    }
    return fail(handle, error,
                "cannot open %.200s (%s) for %s with %u channels, %u Hz, %s, %u periods of %u "
                "frames: %s",
                target.name.c_str(), origin, handle.is_capture() ? "capture" : "playback",
                config.channels, config.rate, samples ? samples->name : "no known format",
                config.period_count, config.period_size, reason);
}

namespace {

// Checks what every transfer checks. Returns the whole frames to move (0: nothing to do), or a
// negative errno.
long frames_to_move(pcm* handle, const void* data, unsigned long frames, bool capture) {
    if (handle == nullptr) {
        return -EINVAL;
    }
    if (handle->backend == nullptr) {
        return -EBADFD;  // The text of the failed open stays: it says why.
    }
    if (handle->is_capture() != capture) {
        return fail(*handle, -EINVAL, "%s is open for %s only", handle->name.c_str(),
                    capture ? "playback" : "capture");
    }
    if (frames > LONG_MAX) {
        return fail(*handle, -EINVAL, "%lu frames are too many for one transfer", frames);
    }
    if (data == nullptr && frames > 0) {
        return fail(*handle, -EINVAL, "a transfer of %lu frames needs a buffer", frames);
    }
    return static_cast<long>(frames);
}

long write_frames(pcm* handle, const void* data, unsigned long frames) {
    const long wanted = frames_to_move(handle, data, frames, false);
    return wanted > 0 ? handle->backend->write(*handle, data, frames) : wanted;
}

long read_frames(pcm* handle, void* data, unsigned long frames) {
    const long wanted = frames_to_move(handle, data, frames, true);
    return wanted > 0 ? handle->backend->read(*handle, data, frames) : wanted;
}

// All or an error, for the functions that cannot say how much moved.
int all_moved(long moved, unsigned long wanted) {
    if (moved < 0) {
        return static_cast<int>(moved);
    }
    return static_cast<unsigned long>(moved) == wanted ? 0 : -EAGAIN;
}

int control(pcm* handle, int (*pcm_backend::*operation)(pcm&)) {
    if (handle == nullptr) {
        return -EINVAL;
    }
    return handle->backend != nullptr ? (handle->backend->*operation)(*handle) : -EBADFD;
}

}  // namespace

}  // namespace tinyalsa

using namespace tinyalsa;

int pcm_close(pcm* handle) {
    if (handle == nullptr) {
        return -EINVAL;
    }
    const std::unique_ptr<pcm> owned(handle);
    if (owned->backend != nullptr) {
        owned->backend->close(*owned);
    }
    return 0;
}

int pcm_is_ready(const pcm* handle) {
    return handle != nullptr && handle->backend != nullptr ? 1 : 0;
}

const char* pcm_get_error(const pcm* handle) {
    return handle != nullptr ? handle->error : "no handle: pcm_open was short of memory";
}

int pcm_write(pcm* handle, const void* data, unsigned count_bytes) {
    const unsigned frames = pcm_bytes_to_frames(handle, count_bytes);
    return all_moved(write_frames(handle, data, frames), frames);
}

int pcm_read(pcm* handle, void* data, unsigned count_bytes) {
    const unsigned frames = pcm_bytes_to_frames(handle, count_bytes);
    return all_moved(read_frames(handle, data, frames), frames);
}

int pcm_writei(pcm* handle, const void* data, unsigned frame_count) {
    if (frame_count > INT_MAX) {
        return -EINVAL;
    }
    return static_cast<int>(write_frames(handle, data, frame_count));
}

int pcm_readi(pcm* handle, void* data, unsigned frame_count) {
    if (frame_count > INT_MAX) {
        return -EINVAL;
    }
    return static_cast<int>(read_frames(handle, data, frame_count));
}

int pcm_get_htimestamp(pcm* handle, unsigned* avail_frames, timespec* timestamp) {
    if (handle == nullptr || avail_frames == nullptr || timestamp == nullptr) {
        return -EINVAL;
    }
    if (handle->backend == nullptr) {
        return -EBADFD;
    }
    return handle->backend->htimestamp(*handle, avail_frames, timestamp);
}

int pcm_prepare(pcm* handle) {
    return control(handle, &pcm_backend::prepare);
}

int pcm_start(pcm* handle) {
    return control(handle, &pcm_backend::start);
}

int pcm_stop(pcm* handle) {
    return control(handle, &pcm_backend::stop);
}

const pcm_config* pcm_get_config(const pcm* handle) {
    return handle != nullptr ? &handle->config : nullptr;
}

unsigned pcm_get_buffer_size(const pcm* handle) {
    return handle != nullptr ? handle->buffer_frames : 0;
}

unsigned pcm_frames_to_bytes(const pcm* handle, unsigned frame_count) {
    unsigned bytes = 0;
    if (handle == nullptr) {
        return 0;
    }
    return __builtin_mul_overflow(frame_count, handle->frame_bytes, &bytes) ? UINT_MAX : bytes;
}

unsigned pcm_bytes_to_frames(const pcm* handle, unsigned byte_count) {
    return handle != nullptr && handle->frame_bytes > 0 ? byte_count / handle->frame_bytes : 0;
}

unsigned pcm_format_to_bits(enum pcm_format format) {
    const sample_format* samples = find_format(static_cast<int>(format));
    return samples != nullptr ? samples->bytes * CHAR_BIT : 0;
}
