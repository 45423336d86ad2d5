#include "wav_flow.h"

#include <algorithm>
#include <cerrno>
#include <time.h>

#include "pcm_handle.h"

namespace tinyalsa {

namespace {

uint64_t now_ns() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

void sleep_until(uint64_t time_ns) {
    timespec until = {};
    until.tv_sec = static_cast<time_t>(time_ns / 1000000000);
    until.tv_nsec = static_cast<long>(time_ns % 1000000000);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

}  // namespace

wav_flow::wav_flow(const pcm& handle, bool real_pace)
    : real_pace_(real_pace),
      buffer_frames_(handle.buffer_frames),
      period_frames_(handle.config.period_size),
      pace_(handle.config.rate, handle.buffer_frames) {}

unsigned long wav_flow::wait(const pcm& handle, unsigned long frames) {
    if (!real_pace_) {
        return frames;
    }
    const auto most = static_cast<uint32_t>(std::min<unsigned long>(frames, buffer_frames_));
    for (;;) {
        uint64_t wake_ns = 0;
        {
            const std::lock_guard<std::mutex> guard(lock_);
            const uint64_t now = now_ns();
            if (const uint32_t ready = pace_.free_frames(now);
                ready > 0 || handle.is_nonblocking()) {
                return std::min(ready, most);
            }
            wake_ns = pace_.time_of_room_ns(std::min(most, period_frames_), now);
        }
        sleep_until(wake_ns);
    }
}

void wav_flow::moved(unsigned long frames) {
    if (real_pace_) {
        const std::lock_guard<std::mutex> guard(lock_);
        pace_.add(static_cast<uint32_t>(frames), now_ns());
    }
}

uint32_t wav_flow::ready_frames() {
    if (!real_pace_) {
        return buffer_frames_;
    }
    const std::lock_guard<std::mutex> guard(lock_);
    return pace_.free_frames(now_ns());
}

void wav_flow::drop() {
    const std::lock_guard<std::mutex> guard(lock_);
    pace_.drop();
}

}  // namespace tinyalsa
