#include "tools/pcm/playback.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "tools/pcm/card_failure.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds poll_every(2);
// A card whose position has not moved for its latency and this long has stopped.
constexpr milliseconds standstill_margin(200);
// However slowly the position moves, the end is not awaited longer than the latency and this.
constexpr milliseconds play_out_margin(2000);

// Buffers of silence behind the last frame.
constexpr int silent_tail_buffers = 8;

// So many writes beyond the latency, and a card that plays has presented something.
constexpr uint64_t silent_writes_allowed = 8;

}  // namespace

playback::playback(hal_output_stream& stream, pcm_source& source, log_lines& log,
                   const interrupt_guard& interrupt, progress_line& progress, bool sink_keeps_all)
    : stream_(stream),
      source_(source),
      log_(log),
      interrupt_(interrupt),
      progress_(progress),
      sink_keeps_all_(sink_keeps_all),
      rate_hz_(stream.sample_rate_hz()),
      latency_ms_(stream.latency_ms()),
      latency_frames_(uint64_t{latency_ms_} * rate_hz_ / 1000),
      frame_bytes_(source.out_channels() * sizeof(int16_t)),
      frames_total_(source.frames_expected()) {}

playback_report playback::run() {
    buffer_frames_ = stream_.buffer_frames(frame_bytes_);
    report_.write_bytes = buffer_frames_ * frame_bytes_;

    std::vector<int16_t> buffer(buffer_frames_ * source_.out_channels());
    while (!interrupt_.requested()) {
        const size_t frames = source_.read(buffer.data(), buffer_frames_);
        if (frames == 0) {
            play_out();
            return report_;
        }
        if (!write_all(reinterpret_cast<const char*>(buffer.data()), frames * frame_bytes_)) {
            return report_;
        }
        ++report_.writes;
        report_.frames_written += frames;
        const uint64_t before = last_position_;
        if (take_position().value_or(before) < before) {
            ++report_.position_losses;
        }
        if (presents_nothing()) {
            report_.failure = "the module took " + std::to_string(report_.frames_written) +
                              " frames, but its presentation position stays 0; see its log "
                              "with -v";
            return report_;
        }
        progress_.show(report_.presented_frames.value_or(report_.frames_written), frames_total_,
                       rate_hz_, latency_ms_);
    }
    report_.interrupted = true;
    return report_;
}

bool playback::write_all(const char* data, size_t bytes) {
    report_.failure = move_all(bytes, "write", "sink", log_, [&](size_t done) {
        return stream_.write(data + done, bytes - done);
    });
    return report_.failure.empty();
}

// What the stream answers, which the report follows.
std::optional<uint64_t> playback::take_position() {
    const std::optional<uint64_t> position = stream_.presented_frames();
    if (!position) {
        return std::nullopt;
    }
    last_position_ = *position;
    // Never backwards: a card that has run dry answers 0. Never beyond our own frames: silence
    // that follows them is not ours.
    const uint64_t own = std::min(*position, report_.frames_written);
    report_.presented_frames = std::max(report_.presented_frames.value_or(0), own);
    return position;
}

bool playback::presents_nothing() const {
    const uint64_t patience_frames = latency_frames_ + silent_writes_allowed * buffer_frames_;
    return report_.presented_frames == uint64_t{0} && report_.frames_written > patience_frames;
}

void playback::play_out() {
    if (!report_.presented_frames) {
        // No position to wait for, so the latency has to do.
        std::this_thread::sleep_for(milliseconds(std::min(latency_ms_, 2000U)));
        return;
    }
    if (!sink_keeps_all_) {
        write_silence();
    }
    if (report_.failure.empty()) {
        wait_for_end();
    }
    if (report_.failure.empty() && !report_.interrupted) {
        judge_end();
    }
}

// A card starts only once enough frames are queued, plays on when nothing follows (what is in its
// buffer sounds again), and forgets what is queued at standby. So silence follows the sound, enough
// to push all of it through the buffers of the card and of the plug-ins in front of it.
void playback::write_silence() {
    const std::vector<char> silence(report_.write_bytes, 0);
    for (int i = 0; i < silent_tail_buffers && !interrupt_.requested(); ++i) {
        if (!write_all(silence.data(), silence.size())) {
            return;
        }
        take_position();
    }
}

// Returns when all frames have been presented, when the position stands still, or when someone
// interrupts. A position that falls back says that the card has played all it had.
void playback::wait_for_end() {
    const auto start = steady_clock::now();
    const milliseconds latency(std::min(latency_ms_, 10'000U));
    uint64_t highest = last_position_;
    auto last_move = start;
    while (report_.presented_frames < report_.frames_written) {
        if (interrupt_.requested()) {
            report_.interrupted = true;
            return;
        }
        const auto now = steady_clock::now();
        const uint64_t position = take_position().value_or(0);
        if (position < highest) {
            report_.presented_frames = report_.frames_written;
        } else if (position > highest) {
            highest = position;
            last_move = now;
        } else if (now - last_move > latency + standstill_margin ||
                   now - start > latency + play_out_margin) {
            return;
        }
        progress_.show(*report_.presented_frames, frames_total_, rate_hz_, latency_ms_);
        std::this_thread::sleep_for(poll_every);
    }
}

void playback::judge_end() {
    const uint64_t presented = report_.presented_frames.value_or(0);
    const uint64_t missing = report_.frames_written - presented;
    // A few frames may still be on their way through a plug-in's buffers.
    if (missing > latency_frames_) {
        report_.failure = "the card stood still after " + std::to_string(presented) + " of " +
                          std::to_string(report_.frames_written) +
                          " frames; try again, or another sink with --device";
    }
}
