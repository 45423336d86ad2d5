// The back end over alsa-lib. The handle's stream is its snd_pcm_t, which alsa-lib locks itself, so
// a position may be asked for while a transfer waits.

#include <algorithm>
#include <alsa/asoundlib.h>
#include <cerrno>
#include <climits>
#include <memory>
#include <unistd.h>

#include "alsa_message.h"
#include "alsa_params.h"
#include "alsa_transfer.h"
#include "pcm_handle.h"
#include "xruns.h"

namespace tinyalsa {

namespace {

struct stream_closer {
    void operator()(snd_pcm_t* stream) const { snd_pcm_close(stream); }
};
using stream_ptr = std::unique_ptr<snd_pcm_t, stream_closer>;

snd_pcm_t* stream_of(const pcm& handle) {
    return static_cast<snd_pcm_t*>(handle.stream);
}

// Whether the card is there and closed to this user, for which alsa-lib says that there is none.
bool is_forbidden(const pcm_target& target) {
    const std::string control = "/dev/snd/controlC" + std::to_string(target.card);
    return !target.from_variable && access(control.c_str(), F_OK) == 0 &&
           access(control.c_str(), R_OK | W_OK) != 0;
}

// What the reader of a failed open can do about it.
const char* find_hint(int error, const pcm_target& target) {
    switch (is_forbidden(target) ? -EACCES : error) {
        case -ENOENT:
        case -ENODEV:
        case -ENXIO:
            return target.from_variable ? " (aplay -L lists the names that alsa-lib knows)"
                                        : " (aplay -l lists the devices that there are)";
        case -EBUSY:
            return " (another stream or program is using it)";
        case -EACCES:
        case -EPERM:
            return " (users of sound cards are usually in the group audio)";
        default:
            return "";
    }
}

int fail_alsa_open(pcm& handle, const pcm_target& target, int error, const std::string& reason) {
    return fail_open(handle, target, error, "%s: %s%s", reason.c_str(), snd_strerror(error),
                     find_hint(error, target));
}

int alsa_open(pcm& handle, const pcm_target& target) {
    const alsa_message_scope messages;
    snd_pcm_t* opened = nullptr;
    // Not blocking, else the open of a device in use would wait until it is free.
    int error = snd_pcm_open(&opened, target.name.c_str(),
                             handle.is_capture() ? SND_PCM_STREAM_CAPTURE : SND_PCM_STREAM_PLAYBACK,
                             SND_PCM_NONBLOCK);
    if (error < 0) {
        const std::string message = messages.latest();
        return fail_alsa_open(handle, target, error,
                              message.empty() ? "it does not open" : message);
    }
    stream_ptr stream(opened);
    const pcm_config requested = handle.config;
    std::string reason;
    error = set_hardware_params(handle, opened, reason);
    if (error == 0) {
        error = set_software_params(handle, opened, reason);
    }
    if (error == 0 && !handle.is_nonblocking()) {
        reason = "it cannot block";
        error = snd_pcm_nonblock(opened, 0);
    }
    if (error < 0) {
        handle.config = requested;
        handle.buffer_frames = 0;
        return fail_alsa_open(handle, target, error, reason);
    }
    handle.stream = stream.release();
    return 0;
}

int alsa_htimestamp(pcm& handle, unsigned* avail_frames, timespec* timestamp) {
    // The status, unlike the narrower questions, has an answer after an underrun too.
    snd_pcm_status_t* status = nullptr;
    snd_pcm_status_alloca(&status);
    if (const int error = snd_pcm_status(stream_of(handle), status); error < 0) {
        return error;
    }
    switch (snd_pcm_status_get_state(status)) {
        case SND_PCM_STATE_OPEN:
        case SND_PCM_STATE_SETUP:
            return -EBADFD;
        case SND_PCM_STATE_DISCONNECTED:
            return -ENODEV;
        default:
            break;
    }
    timespec stamp = {};
    snd_pcm_status_get_htstamp(status, &stamp);
    if (stamp.tv_sec == 0 && stamp.tv_nsec == 0) {
        clock_gettime(handle.clock(), &stamp);  // Nothing has played yet.
    }
    *avail_frames = static_cast<unsigned>(
        std::min<snd_pcm_uframes_t>(snd_pcm_status_get_avail(status), UINT_MAX));
    *timestamp = stamp;
    return 0;
}

int alsa_prepare(pcm& handle) {
    return snd_pcm_prepare(stream_of(handle));
}

int alsa_start(pcm& handle) {
    return snd_pcm_start(stream_of(handle));
}

int alsa_stop(pcm& handle) {
    return snd_pcm_drop(stream_of(handle));
}

void alsa_close(pcm& handle) {
    tell_rest_of_xruns(handle);
    const stream_ptr stream(stream_of(handle));
    snd_pcm_drop(stream.get());
}

}  // namespace

const pcm_backend kAlsaBackend = {
    .open = alsa_open,
    .write = alsa_write,
    .read = alsa_read,
    .htimestamp = alsa_htimestamp,
    .prepare = alsa_prepare,
    .start = alsa_start,
    .stop = alsa_stop,
    .close = alsa_close,
};

}  // namespace tinyalsa
