// The record behind a handle, and the table of operations that stands between the public functions
// and what moves the frames.
//
// Threads: transfers, prepare, start and stop come from one thread at a time; htimestamp may come
// from another meanwhile. Everything else in the record is fixed once open has succeeded, but for
// the error text, which only transfers write.
#pragma once

#include <string>
#include <time.h>

#include <tinyalsa/pcm.h>

namespace tinyalsa {

// What pcm_open was asked to open.
struct pcm_target {
    unsigned card;
    unsigned device;
    const char* variable;  // the environment variable that can name the target
    bool from_variable;    // name comes from there
    std::string name;      // a PCM name of alsa-lib, or the path of a WAV file
};

// Results are 0, or frames for the transfers, or a negative errno. A transfer is asked for at least
// one frame, in the handle's own direction. A failing open or transfer leaves its text with fail().
struct pcm_backend {
    int (*open)(pcm& handle, const pcm_target& target);
    long (*write)(pcm& handle, const void* data, unsigned long frames);
    long (*read)(pcm& handle, void* data, unsigned long frames);
    int (*htimestamp)(pcm& handle, unsigned* avail_frames, timespec* timestamp);
    int (*prepare)(pcm& handle);
    int (*start)(pcm& handle);
    int (*stop)(pcm& handle);
    void (*close)(pcm& handle);
};

extern const pcm_backend kAlsaBackend;
extern const pcm_backend kWavPlaybackBackend;
extern const pcm_backend kWavCaptureBackend;

}  // namespace tinyalsa

struct pcm {
    const tinyalsa::pcm_backend* backend = nullptr;  // null while not ready
    void* stream = nullptr;                          // the back end's own record
    std::string name;                                // for error texts
    unsigned flags = 0;
    pcm_config config = {};
    unsigned frame_bytes = 0;    // 0: an impossible request
    unsigned buffer_frames = 0;  // 0 while not ready
    struct {
        unsigned long count = 0;
        unsigned long told = 0;  // count, in the latest log line
        time_t told_at_s = 0;
        bool is_in_one = false;  // since the latest transfer at least
    } xruns;
    char error[768] = "";

    bool is_capture() const { return (flags & PCM_IN) != 0; }
    bool is_nonblocking() const { return (flags & PCM_NONBLOCK) != 0; }
    clockid_t clock() const { return (flags & PCM_MONOTONIC) ? CLOCK_MONOTONIC : CLOCK_REALTIME; }
};

namespace tinyalsa {

// Stores one line as the handle's error text and returns error, a negative errno.
[[gnu::format(printf, 3, 4)]] int fail(pcm& handle, int error, const char* format, ...);

// The same for an open: puts the target and the whole request before the reason.
[[gnu::format(printf, 4, 5)]] int fail_open(pcm& handle, const pcm_target& target, int error,
                                            const char* format, ...);

}  // namespace tinyalsa
