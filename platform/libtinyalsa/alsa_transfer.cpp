#include "alsa_transfer.h"

#include <alsa/asoundlib.h>
#include <cerrno>

#include "pcm_handle.h"
#include "xruns.h"

namespace tinyalsa {

namespace {

// A device that needs mending again and again without moving a frame in between is broken.
constexpr int kMaxFruitlessTries = 5;
constexpr int kWaitMs = 100;

snd_pcm_t* stream_of(const pcm& handle) {
    return static_cast<snd_pcm_t*>(handle.stream);
}

// What to do about a result of `snd_pcm_writei` and its like that moved nothing.
enum class remedy { give_up, stop_here, again, wait, prepare };

remedy find_remedy(const pcm& handle, long result) {
    switch (result) {
        case -EINTR:
            return remedy::again;
        case 0:
        case -EAGAIN:
            return handle.is_nonblocking() ? remedy::stop_here : remedy::wait;
        case -EPIPE:
        case -ESTRPIPE:
            return (handle.flags & PCM_NORESTART) != 0 ? remedy::give_up : remedy::prepare;
        default:
            return remedy::give_up;
    }
}

// After an open, a stop or a fault a stream may want preparing, and a capture stream starts only
// here: alsa-lib would leave it waiting when start_threshold is above one request.
int make_ready(const pcm& handle) {
    snd_pcm_t* stream = stream_of(handle);
    if (snd_pcm_state(stream) == SND_PCM_STATE_SETUP) {
        if (const int error = snd_pcm_prepare(stream); error < 0) {
            return error;
        }
    }
    if (handle.is_capture() && snd_pcm_state(stream) == SND_PCM_STATE_PREPARED) {
        return snd_pcm_start(stream);
    }
    return 0;
}

// Runs `move(first_frame, frames)` until all frames have moved.
template <typename Move>
long transfer(pcm& handle, unsigned long frames, Move move) {
    snd_pcm_t* stream = stream_of(handle);
    unsigned long done = 0;
    int fruitless = 0;
    int error = make_ready(handle);
    look_for_xrun(handle);
    while (done < frames) {
        const long result = error < 0 ? error : move(done, frames - done);
        error = 0;
        if (result > 0) {
            done += static_cast<unsigned long>(result);
            fruitless = 0;
            continue;
        }
        if (result == -EPIPE) {
            note_xrun(handle);
        }
        const remedy cure = find_remedy(handle, result);
        if (cure == remedy::again) {
            continue;
        }
        if (cure == remedy::stop_here) {
            return done > 0 ? static_cast<long>(done) : -EAGAIN;
        }
        if (cure == remedy::give_up || ++fruitless > kMaxFruitlessTries) {
            const int code = result < 0 ? static_cast<int>(result) : -EIO;
            return fail(handle, code, "%s failed after %lu of %lu frames on %s%s: %s",
                        handle.is_capture() ? "capture" : "playback", done, frames,
                        handle.name.c_str(),
                        cure == remedy::give_up ? ""
                                                : ", which stays stuck however often it is "
                                                  "prepared",
                        snd_strerror(code));
        }
        if (cure == remedy::wait) {
            snd_pcm_wait(stream, kWaitMs);
            continue;
        }
        error = snd_pcm_prepare(stream);
        if (error == 0) {
            error = make_ready(handle);
        }
    }
    return static_cast<long>(done);
}

}  // namespace

long alsa_write(pcm& handle, const void* data, unsigned long frames) {
    const auto write = (handle.flags & PCM_MMAP) != 0 ? snd_pcm_mmap_writei : snd_pcm_writei;
    const char* bytes = static_cast<const char*>(data);
    return transfer(handle, frames, [&](unsigned long first, unsigned long count) {
        return write(stream_of(handle), bytes + first * handle.frame_bytes, count);
    });
}

long alsa_read(pcm& handle, void* data, unsigned long frames) {
    const auto read = (handle.flags & PCM_MMAP) != 0 ? snd_pcm_mmap_readi : snd_pcm_readi;
    char* bytes = static_cast<char*>(data);
    return transfer(handle, frames, [&](unsigned long first, unsigned long count) {
        return read(stream_of(handle), bytes + first * handle.frame_bytes, count);
    });
}

}  // namespace tinyalsa
