#include "tools/pcm/round_trip.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tools/pcm/card_failure.h"
#include "tools/pcm/level_meter.h"
#include "tools/pcm/loop_probe.h"

namespace {

constexpr uint32_t rate_hz = 48000;
constexpr size_t channels = 2;
constexpr size_t frame_bytes = channels * sizeof(int16_t);

// Silence first, until both cards run and their filters have settled; and how long the probe is
// waited for.
constexpr size_t lead_in_frames = rate_hz / 2;
constexpr size_t listen_frames = 3 * rate_hz / 2;

// A probe that went through a room comes back changed; noise stays far below this.
constexpr float least_correlation = 0.5F;

// The frames to play, stereo, from the first recorded frame on.
std::vector<int16_t> make_signal(const std::vector<float>& probe) {
    std::vector<int16_t> signal(lead_in_frames * channels);
    for (const float sample : probe) {
        signal.insert(signal.end(), channels, static_cast<int16_t>(std::lrintf(sample * 32767)));
    }
    signal.resize(signal.size() + listen_frames * channels);
    return signal;
}

// True when all bytes moved and no card has failed.
bool all_moved(ssize_t moved, size_t bytes, const char* operation, const log_lines& log,
               round_trip_report& report) {
    report.failure = card_failure(log);
    if (report.failure.empty() && moved != static_cast<ssize_t>(bytes)) {
        report.failure = std::string("the module's ") + operation + " answered " +
                         status_text(static_cast<int>(moved)) + " for " + std::to_string(bytes) +
                         " bytes";
    }
    return report.failure.empty();
}

}  // namespace

round_trip_report measure_round_trip(hal_output_stream& output, hal_input_stream& input,
                                     const log_lines& log, const interrupt_guard& interrupt,
                                     progress_line& progress) {
    round_trip_report report;
    const size_t block = output.buffer_frames(frame_bytes);
    const std::vector<float> probe = make_loop_probe();
    const std::vector<int16_t> signal = make_signal(probe);

    // What fills the card's buffer, so that it does not run dry while the other card is read.
    const uint64_t latency_frames = uint64_t{output.latency_ms()} * rate_hz / 1000;
    const size_t ahead_blocks =
        static_cast<size_t>(std::min<uint64_t>(latency_frames, rate_hz)) / block;
    std::vector<int16_t> buffer(block * channels);
    for (size_t i = 0; i < ahead_blocks; ++i) {
        if (!all_moved(output.write(buffer.data(), block * frame_bytes), block * frame_bytes,
                       "write", log, report)) {
            return report;
        }
    }
    std::vector<float> recorded;
    level_meter meter;
    for (size_t at = 0; at + buffer.size() <= signal.size(); at += buffer.size()) {
        if (interrupt.requested()) {
            report.interrupted = true;
            return report;
        }
        if (!all_moved(output.write(signal.data() + at, block * frame_bytes), block * frame_bytes,
                       "write", log, report) ||
            !all_moved(input.read(buffer.data(), block * frame_bytes), block * frame_bytes, "read",
                       log, report)) {
            return report;
        }
        for (size_t i = 0; i < buffer.size(); i += channels) {
            recorded.push_back(static_cast<float>(buffer[i] + buffer[i + 1]) / 65536);
        }
        meter.add(buffer.data(), buffer.size());
        progress.show(recorded.size(), signal.size() / channels, rate_hz, output.latency_ms());
    }
    const probe_match match = find_loop_probe(recorded, probe);
    report.frames = recorded.size();
    report.peak = meter.peak();
    report.correlation = match.correlation;
    // The probe's first frame was written together with the read of the frame of that number.
    report.found = match.correlation >= least_correlation && match.frame >= lead_in_frames;
    report.delay_frames = report.found ? match.frame - lead_in_frames : 0;
    return report;
}
