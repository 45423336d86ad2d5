#include "bench/fairness.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>
#include <time.h>
#include <vector>

#include "bench/loaded_module.h"
#include "bench/null_player.h"
#include "bench/resources.h"
#include "bench/service_process.h"
#include "bench/subject.h"
#include "bench/table.h"

namespace {

constexpr size_t stream_count = 16;
constexpr size_t chunk_bytes = 1024;  // as much as a stream hands over at once
constexpr int warm_up_chunks = 16;    // threads that are new are the kernel's concern
constexpr int measured_chunks = 64;
constexpr double most_ratio = 4;

// Runs that count, and attempts to get so many.
constexpr size_t wanted_runs = 31;
constexpr size_t most_runs = 1000;
// What of the processor has to be ours in a run: otherwise what another program took would be
// counted as the wait of a chunk.
constexpr double least_share = 0.98;

uint64_t now_ns() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(time.tv_nsec);
}

struct run_result {
    double share;       // of the processor's time
    double slowest_ns;  // of wall time, for one write of a chunk
    double median_ns;
};

double ratio_of(const run_result& run) {
    return run.slowest_ns / run.median_ns;
}

class writers {
  public:
    writers() {
        for (audio_stream_out*& stream : streams_) {
            stream = module_.open_output(AUDIO_OUTPUT_FLAG_DIRECT);
            write(stream);
        }
    }
    ~writers() {
        for (audio_stream_out* stream : streams_) {
            module_.close(stream);
        }
    }
    writers(const writers&) = delete;
    writers& operator=(const writers&) = delete;

    // All write without a pause, and only while all write is measured.
    run_result run() const {
        std::atomic<size_t> warm{0};
        std::atomic<size_t> measured{0};
        std::atomic<bool> has_failed{false};
        std::vector<uint64_t> took_ns[stream_count];
        uint64_t start_ns = 0;
        uint64_t start_cpu_ns = 0;
        const auto work = [&](size_t number) {
            audio_stream_out* const stream = streams_[number];
            for (int i = 0; i < warm_up_chunks; ++i) {
                has_failed = has_failed || !write(stream);
            }
            if (++warm == stream_count) {
                start_ns = now_ns();
                start_cpu_ns = cpu_ns();
            }
            while (warm < stream_count) {
                write(stream);
            }
            took_ns[number].reserve(measured_chunks);
            for (int i = 0; i < measured_chunks; ++i) {
                const uint64_t before_ns = now_ns();
                has_failed = has_failed || !write(stream);
                took_ns[number].push_back(now_ns() - before_ns);
            }
            ++measured;
            while (measured < stream_count) {
                write(stream);
            }
        };
        std::vector<std::thread> threads;
        for (size_t i = 0; i < stream_count; ++i) {
            threads.emplace_back(work, i);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (has_failed) {
            give_up("fairness: a write was refused");
        }
        const auto share =
            static_cast<double>(cpu_ns() - start_cpu_ns) / static_cast<double>(now_ns() - start_ns);
        std::vector<uint64_t> all_ns;
        for (const std::vector<uint64_t>& each : took_ns) {
            all_ns.insert(all_ns.end(), each.begin(), each.end());
        }
        std::sort(all_ns.begin(), all_ns.end());
        return {share, static_cast<double>(all_ns.back()),
                static_cast<double>(all_ns[all_ns.size() / 2])};
    }

  private:
    static bool write(audio_stream_out* stream) {
        static const char chunk[chunk_bytes] = {};
        return stream->write(stream, chunk, chunk_bytes) == static_cast<ssize_t>(chunk_bytes);
    }

    const service_process service_{[] { offer_null_players(); }};
    const loaded_module module_;
    audio_stream_out* streams_[stream_count] = {};
};

}  // namespace

bool print_fairness() {
    const writers all;
    std::vector<run_result> runs;
    for (size_t i = 0; i < most_runs && runs.size() < wanted_runs; ++i) {
        const run_result run = all.run();
        if (run.share >= least_share) {
            runs.push_back(run);
        }
    }
    if (runs.size() < wanted_runs) {
        give_up(
            "fairness: other programs use the processor, or the streams sleep; only %zu of %zu "
            "runs had it to themselves",
            runs.size(), most_runs);
    }
    std::sort(runs.begin(), runs.end(),
              [](const run_result& a, const run_result& b) { return ratio_of(a) < ratio_of(b); });
    const run_result& median = runs[runs.size() / 2];
    return print_ratio("fairness, the slowest of 1024 chunks of 16 streams: wall time",
                       median.slowest_ns, "the median chunk", median.median_ns, ratio_of(median),
                       most_ratio);
}
