#include "tools/pcm/level_meter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tools/terminal/number_text.h"

namespace {

constexpr double full_scale = 32768;
constexpr double bar_range_db = 60;
constexpr int bar_length = 30;

double to_db(unsigned peak) {
    return 20 * std::log10(peak / full_scale);
}

}  // namespace

std::string level_text(unsigned peak) {
    return peak == 0 ? "silence" : decimal_text(to_db(peak), 1) + " dB";
}

std::string level_bar(unsigned peak) {
    const double above_floor = peak == 0 ? 0 : std::max(0.0, to_db(peak) + bar_range_db);
    const auto filled = static_cast<size_t>(std::lround(above_floor / bar_range_db * bar_length));
    return "[" + std::string(filled, '#') + std::string(bar_length - filled, '-') + "]";
}

void level_meter::add(const int16_t* samples, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        recent_peak_ = std::max(recent_peak_, static_cast<unsigned>(std::abs(int{samples[i]})));
    }
    peak_ = std::max(peak_, recent_peak_);
}

unsigned level_meter::take_recent_peak() {
    const unsigned recent = recent_peak_;
    recent_peak_ = 0;
    return recent;
}
