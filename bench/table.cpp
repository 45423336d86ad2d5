#include "bench/table.h"

#include <algorithm>
#include <cstdio>

namespace {

// A count that is off by a stray call of another thread, once in many times, is the same count.
constexpr double stray = 0.05;

const char* held_text(bool held) {
    return held ? "held" : "MISSED";
}

std::string time_text(double ns) {
    char text[32];
    std::snprintf(text, sizeof(text), ns < 10'000 ? "%.0f ns" : "%.1f us",
                  ns < 10'000 ? ns : ns / 1000);
    return text;
}

}  // namespace

void print_heading() {
    std::printf("| what | ours | reference | ratio | goal | |\n|---|---|---|---|---|---|\n");
}

bool print_ratio(const std::string& what, double ours_ns, const std::string& reference,
                 double reference_ns, double ratio, double most_ratio) {
    const bool held = ratio <= most_ratio;
    std::printf("| %s | %s | %s: %s | %.2f | at most %.2f | %s |\n", what.c_str(),
                time_text(ours_ns).c_str(), reference.c_str(), time_text(reference_ns).c_str(),
                ratio, most_ratio, held_text(held));
    return held;
}

bool print_count(const std::string& what, double ours, double reference, double most) {
    const bool held = ours <= most + stray;
    std::printf("| %s | %.1f | %.1f | | at most %.0f | %s |\n", what.c_str(), std::max(ours, 0.0),
                std::max(reference, 0.0), most, held_text(held));
    return held;
}
