#include "bench/measure.h"

#include <algorithm>
#include <vector>

#include "bench/resources.h"

namespace {

constexpr int pairs = 31;
constexpr uint64_t least_round_ns = 8'000'000;

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <typename Run>
double round_ns(const Run& run) {
    const uint64_t start = cpu_ns();
    run();
    return static_cast<double>(cpu_ns() - start);
}

// How often `run` is to be done in a round; warms up as well.
template <typename Run>
uint32_t times_in_round(const Run& run) {
    uint32_t times = 1;
    while (round_ns([&] { run(times); }) < least_round_ns && times < (1U << 30)) {
        times *= 2;
    }
    return times;
}

template <typename Run>
double allocations_each(const Run& run) {
    constexpr uint32_t times = 1000;
    const uint64_t before = allocations();
    run(times);
    return static_cast<double>(allocations() - before) / times;
}

}  // namespace

measurement measure(subject& measured) {
    const auto ours = [&measured](uint32_t times) { measured.ours(times); };
    const auto reference = [&measured](uint32_t times) { measured.reference(times); };
    const uint32_t our_times = times_in_round(ours);
    const uint32_t reference_times = times_in_round(reference);
    std::vector<double> ours_ns;
    std::vector<double> reference_ns;
    std::vector<double> ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        ours_ns.push_back(round_ns([&] { ours(our_times); }) / our_times);
        reference_ns.push_back(round_ns([&] { reference(reference_times); }) / reference_times);
        ratios.push_back(ours_ns.back() / reference_ns.back());
    }
    return {median(ours_ns), median(reference_ns), median(ratios), allocations_each(ours),
            allocations_each(reference)};
}
