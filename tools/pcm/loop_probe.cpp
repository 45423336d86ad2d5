#include "tools/pcm/loop_probe.h"

#include <cmath>

namespace {

constexpr size_t probe_frames = 2400;  // 50 ms
constexpr double rate_hz = 48000;
constexpr double from_hz = 300;
constexpr double to_hz = 6000;
constexpr double amplitude = 0.25;

// Below this a match is the noise of a converter.
constexpr double least_energy = 1e-9 * probe_frames;

double square(float value) {
    return static_cast<double>(value) * static_cast<double>(value);
}

}  // namespace

std::vector<float> make_loop_probe() {
    std::vector<float> probe;
    for (size_t i = 0; i < probe_frames; ++i) {
        const double t = static_cast<double>(i) / rate_hz;
        const double length_s = probe_frames / rate_hz;
        const double phase = 2 * M_PI * (from_hz * t + (to_hz - from_hz) * t * t / (2 * length_s));
        // Swells and fades, so that nothing clicks.
        const double window = std::sin(M_PI * t / length_s);
        probe.push_back(static_cast<float>(amplitude * window * std::sin(phase)));
    }
    return probe;
}

probe_match find_loop_probe(const std::vector<float>& recorded, const std::vector<float>& probe) {
    probe_match best = {0, 0};
    if (recorded.size() < probe.size()) {
        return best;
    }
    double probe_energy = 0;
    double energy = 0;  // of the part of the recording that the probe is laid over
    for (size_t i = 0; i < probe.size(); ++i) {
        probe_energy += square(probe[i]);
        energy += square(recorded[i]);
    }
    for (size_t at = 0;; ++at) {
        float product = 0;
        for (size_t i = 0; i < probe.size(); ++i) {
            product += recorded[at + i] * probe[i];
        }
        if (energy > least_energy) {
            const auto correlation =
                static_cast<float>(std::sqrt(square(product) / (energy * probe_energy)));
            if (correlation > best.correlation) {
                best = {at, correlation};
            }
        }
        if (at + probe.size() == recorded.size()) {
            return best;
        }
        energy += square(recorded[at + probe.size()]) - square(recorded[at]);
    }
}
