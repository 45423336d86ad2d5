#include "hal/buffer_duration.h"

#include <algorithm>
#include <time.h>
#include <unistd.h>

namespace {

// What one usleep() takes on every platform's useconds_t.
constexpr uint64_t longest_sleep_us = 4'000'000'000;

uint64_t now_us() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace

void sleep_for_buffer_duration(size_t bytes, size_t frame_bytes, uint32_t rate_hz) {
    uint64_t duration_us = static_cast<uint64_t>(bytes) * 1'000'000 / frame_bytes / rate_hz;
    while (duration_us > 0) {
        const uint64_t slice_us = std::min(duration_us, longest_sleep_us);
        const uint64_t start_us = now_us();
        const bool slept = usleep(static_cast<useconds_t>(slice_us)) == 0;
        // A signal ends a sleep early: what is left of it is slept as well.
        duration_us -= slept ? slice_us : std::min(duration_us, now_us() - start_us);
    }
}
