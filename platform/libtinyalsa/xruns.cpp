#include "xruns.h"

#include <alsa/asoundlib.h>
#include <atomic>

#include <android/log.h>

#include "pcm_handle.h"

namespace tinyalsa {

namespace {

constexpr time_t kLogEverySeconds = 1;

// Of all streams of the process since it started; playback first.
std::atomic<unsigned long> counted[2];

void tell(const pcm& handle) {
    __android_log_print(ANDROID_LOG_WARN, "tinyalsa", "%s: %s so far: %lu", handle.name.c_str(),
                        handle.is_capture() ? "frames came faster than they were read; overruns"
                                            : "the card ran out of frames; underruns",
                        handle.xruns.count);
}

void count_xrun(pcm& handle) {
    ++counted[handle.is_capture() ? 1 : 0];
    ++handle.xruns.count;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (handle.xruns.told == 0 || now.tv_sec - handle.xruns.told_at_s > kLogEverySeconds) {
        handle.xruns.told = handle.xruns.count;
        handle.xruns.told_at_s = now.tv_sec;
        tell(handle);
    }
}

}  // namespace

void look_for_xrun(pcm& handle) {
    const snd_pcm_sframes_t ready_frames =
        snd_pcm_avail_update(static_cast<snd_pcm_t*>(handle.stream));
    const bool overtaken =
        ready_frames == -EPIPE || ready_frames > static_cast<long>(handle.buffer_frames);
    if (overtaken && !handle.xruns.is_in_one) {
        count_xrun(handle);
    }
    handle.xruns.is_in_one = overtaken;
}

void note_xrun(pcm& handle) {
    if (!handle.xruns.is_in_one) {
        count_xrun(handle);
    }
    handle.xruns.is_in_one = false;
}

void tell_rest_of_xruns(const pcm& handle) {
    if (handle.xruns.count > handle.xruns.told) {
        tell(handle);
    }
}

}  // namespace tinyalsa

unsigned long pcm_xruns(unsigned int flags) {
    return tinyalsa::counted[(flags & PCM_IN) != 0 ? 1 : 0];
}
