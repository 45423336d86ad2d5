#include "tools/terminal/progress.h"

#include <cinttypes>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds redraw_every(100);

std::string clock_text(uint64_t frames, uint32_t rate_hz, unsigned digits) {
    const uint64_t per_second = digits == 1 ? 10 : 1000;
    const uint64_t seconds = frames / rate_hz;
    const uint64_t part = (frames % rate_hz) * per_second / rate_hz;
    char text[64];
    std::snprintf(text, sizeof(text), "%" PRIu64 ":%02" PRIu64 ".%0*" PRIu64, seconds / 60,
                  seconds % 60, static_cast<int>(digits), part);
    return text;
}

}  // namespace

std::string clock_text(uint64_t frames, uint32_t rate_hz) {
    return clock_text(frames, rate_hz, 3);
}

std::string progress_text(uint64_t position_frames, uint64_t total_frames, uint32_t rate_hz,
                          uint32_t latency_ms) {
    return clock_text(position_frames, rate_hz, 1) + " / " + clock_text(total_frames, rate_hz, 1) +
           "  latency " + std::to_string(latency_ms) + " ms";
}

progress_line::progress_line(bool wanted) : on_(wanted && isatty(STDERR_FILENO) == 1) {}

progress_line::~progress_line() {
    clear();
}

void progress_line::show(uint64_t position_frames, uint64_t total_frames, uint32_t rate_hz,
                         uint32_t latency_ms) {
    if (due()) {
        draw(progress_text(position_frames, total_frames, rate_hz, latency_ms));
    }
}

bool progress_line::due() const {
    return on_ && std::chrono::steady_clock::now() >= next_;
}

void progress_line::draw(const std::string& text) {
    next_ = std::chrono::steady_clock::now() + redraw_every;
    dirty_ = true;
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    std::fflush(stderr);
}

void progress_line::clear() {
    if (dirty_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        dirty_ = false;
    }
}
