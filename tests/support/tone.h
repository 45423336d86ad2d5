// Sine waves: made, and measured in what came out.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

inline double tone_at(double frequency_hz, double rate_hz, double frame) {
    return std::sin(2 * M_PI * frequency_hz * frame / rate_hz);
}

// What is left of a signal once the best-fitting sine of the frequency is taken out of it, and how
// loud that sine is; both as amplitudes.
struct tone_fit {
    double amplitude;
    double worst_residue;  // of any one sample: a click shows here
};

inline tone_fit fit_tone(const std::vector<double>& signal, double frequency_hz, double rate_hz) {
    double sine = 0;
    double cosine = 0;
    double sine2 = 0;
    double cosine2 = 0;
    double both = 0;
    const double step = 2 * M_PI * frequency_hz / rate_hz;
    for (size_t i = 0; i < signal.size(); ++i) {
        const double s = std::sin(step * static_cast<double>(i));
        const double c = std::cos(step * static_cast<double>(i));
        sine += signal[i] * s;
        cosine += signal[i] * c;
        sine2 += s * s;
        cosine2 += c * c;
        both += s * c;
    }
    const double determinant = sine2 * cosine2 - both * both;
    const double a = (sine * cosine2 - cosine * both) / determinant;
    const double b = (cosine * sine2 - sine * both) / determinant;
    double worst = 0;
    for (size_t i = 0; i < signal.size(); ++i) {
        const double angle = step * static_cast<double>(i);
        worst = std::max(worst, std::abs(signal[i] - a * std::sin(angle) - b * std::cos(angle)));
    }
    return {std::hypot(a, b), worst};
}
