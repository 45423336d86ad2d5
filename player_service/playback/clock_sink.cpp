#include "player_service/playback/clock_sink.h"

#include <algorithm>

namespace player_service {

using std::chrono::steady_clock;

namespace {

// A waiter asks again at least this much later, so that it does not spin.
constexpr std::chrono::milliseconds kShortestWait(2);

}  // namespace

clock_sink::clock_sink(const audio_format& format, std::unique_ptr<wav_lease> file,
                       std::optional<std::chrono::nanoseconds> buffer)
    : file_(std::move(file)) {
    if (buffer) {
        clock_.emplace(format.rate_hz, *buffer);
    }
}

long clock_sink::write(const int16_t* samples, size_t frames) {
    const steady_clock::time_point now = steady_clock::now();
    const size_t count = clock_ ? std::min(frames, clock_->room_frames(now)) : frames;
    if (count == 0) {
        return 0;
    }
    if (file_ != nullptr && !file_->write(samples, count)) {
        return -1;
    }
    if (clock_) {
        clock_->add(count, now);
    }
    return static_cast<long>(count);
}

std::chrono::nanoseconds clock_sink::until_room() const {
    return std::max<std::chrono::nanoseconds>(kShortestWait, delay() / 4);
}

std::chrono::nanoseconds clock_sink::delay() const {
    if (!clock_) {
        return {};
    }
    return std::max(clock_->end() - steady_clock::now(), steady_clock::duration(0));
}

}  // namespace player_service
