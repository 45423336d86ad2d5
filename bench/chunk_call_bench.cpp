// What one chunk costs on its way to a player service in another process: GetBuf and PutBufEx,
// beside two bare round trips of the same sizes over the same kind of socket.
//
//   bench_chunk_call             a table; status 1 where a goal is missed
//   bench_chunk_call calls N     only N chunks, for strace -f -c
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <signal.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "tests/player_client/fake_player.h"
#include "tests/support/scratch_dir.h"

namespace {

constexpr int kChunks = 2000;  // of each kind at a time
constexpr int kRounds = 15;
constexpr size_t kRequestBytes = 128;
constexpr size_t kReplyBytes = 28;

[[noreturn]] void give_up(const char* why) {
    std::fprintf(stderr, "chunk_call: %s\n", why);
    std::exit(1);
}

class quick_player : public fake_player {
  public:
    quick_player() : fake_player("") {}
    int32_t GetBuf(uint32_t, int, uint32_t, uint32_t) override { return 16; }
    int32_t PutBufEx(uint32_t, int, uint32_t, uint32_t) override { return 17; }
    // How often this process has allocated.
    int32_t SndGetMsFeature(uint32_t) override;
};

class quick_service : public android::BnZuAvPlayerService {
  public:
    android::sp<android::IZuAvPlayer> getPlayer() override { return new quick_player; }
};

// A child that runs `work`, and dies with its object or with us.
class child {
  public:
    template <typename Work>
    explicit child(Work work) : pid_(fork()) {
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            work();
            _exit(0);
        }
    }
    ~child() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    child(const child&) = delete;
    child& operator=(const child&) = delete;

    double cpu_us() const {
        clockid_t clock = 0;
        return clock_getcpuclockid(pid_, &clock) == 0 ? read(clock) : 0;
    }
    static double own_cpu_us() { return read(CLOCK_PROCESS_CPUTIME_ID); }

  private:
    static double read(clockid_t clock) {
        timespec now = {};
        clock_gettime(clock, &now);
        return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
    }
    const pid_t pid_;
};

void feed(android::IZuAvPlayer& player) {
    if (player.GetBuf(1, 1, 1024, 0) != 16 || player.PutBufEx(1, 1, 1024, 0) != 17) {
        give_up("a chunk failed");
    }
}

void echo(int socket) {
    char bytes[kRequestBytes];
    while (recv(socket, bytes, sizeof bytes, 0) == static_cast<ssize_t>(kRequestBytes) &&
           send(socket, bytes, kReplyBytes, 0) == static_cast<ssize_t>(kReplyBytes)) {
    }
}

void two_round_trips(int socket) {
    char bytes[kRequestBytes] = {};
    for (int i = 0; i < 2; ++i) {
        if (send(socket, bytes, kRequestBytes, 0) != static_cast<ssize_t>(kRequestBytes) ||
            recv(socket, bytes, sizeof bytes, 0) != static_cast<ssize_t>(kReplyBytes)) {
            give_up("the echo failed");
        }
    }
}

// The CPU time of one piece of work in both processes.
template <typename Work>
double cost_us(const child& other, Work work) {
    const double before = child::own_cpu_us() + other.cpu_us();
    for (int i = 0; i < kChunks; ++i) {
        work();
    }
    return (child::own_cpu_us() + other.cpu_us() - before) / kChunks;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool line(const char* what, double ours, double reference, double goal, const char* unit) {
    const double ratio = reference > 0 ? ours / reference : ours;
    std::printf("%-46s %9.2f %9.2f %7.2f %7.2f  %s  %s\n", what, ours, reference, ratio, goal,
                ratio <= goal ? "held  " : "MISSED", unit);
    return ratio <= goal;
}

// 16 streams at once, each with a player of its own: the chunk of the slowest stream against that
// of the median one. (The slowest chunk of all says on a busy machine when who else ran.)
double slowest_stream(const android::sp<android::IZuAvPlayerService>& service) {
    constexpr int streams = 16;
    std::vector<double> mean_us(streams);
    std::vector<std::thread> threads;
    for (int i = 0; i < streams; ++i) {
        threads.emplace_back([&, i] {
            const auto player = service->getPlayer();
            feed(*player);
            timespec from = {};
            timespec to = {};
            clock_gettime(CLOCK_MONOTONIC, &from);
            for (int j = 0; j < kChunks; ++j) {
                feed(*player);
            }
            clock_gettime(CLOCK_MONOTONIC, &to);
            mean_us[static_cast<size_t>(i)] =
                (static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 +
                 static_cast<double>(to.tv_nsec - from.tv_nsec) / 1e3) /
                kChunks;
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    return *std::max_element(mean_us.begin(), mean_us.end()) / median(mean_us);
}

std::atomic<uint64_t> allocations{0};

}  // namespace

// Counts every allocation of this program and its libraries.
extern "C" void* malloc(size_t size) {
    static const auto real = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    allocations.fetch_add(1, std::memory_order_relaxed);
    return real(size);
}

int32_t quick_player::SndGetMsFeature(uint32_t) {
    return static_cast<int32_t>(allocations.load() & 0x3fffffff);
}

int main(int argc, char** argv) {
    const scratch_dir folder;
    setenv("CORVEX_BINDER_DIR", folder.file("binder").c_str(), 1);
    int ends[2];
    int ready[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0 || pipe(ready) != 0) {
        give_up("no sockets");
    }
    const child bare([&] { echo(ends[1]); });
    const child serving([&] {
        android::ProcessState::self()->startThreadPool();
        android::defaultServiceManager()->addService(android::String16("zuavplayer"),
                                                     new quick_service);
        if (write(ready[1], "!", 1) == 1) {
            android::IPCThreadState::self()->joinThreadPool();
        }
    });
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) {
        give_up("the service did not start");
    }
    const auto service = android::interface_cast<android::IZuAvPlayerService>(
        android::defaultServiceManager()->getService(android::String16("zuavplayer")));
    const auto player = service != nullptr ? service->getPlayer() : nullptr;
    if (player == nullptr) {
        give_up("no player");
    }
    if (argc == 3 && std::string(argv[1]) == "calls") {
        for (int i = 0; i < std::atoi(argv[2]); ++i) {
            feed(*player);
        }
        return 0;
    }
    std::vector<double> ours;
    std::vector<double> reference;
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        reference.push_back(cost_us(bare, [&] { two_round_trips(ends[0]); }));
        ours.push_back(cost_us(serving, [&] { feed(*player); }));
        ratios.push_back(ours.back() / reference.back());
    }
    const uint64_t here = allocations.load();
    const int32_t there = player->SndGetMsFeature(0);
    for (int i = 0; i < kChunks; ++i) {
        feed(*player);
    }
    const double made_here = static_cast<double>(allocations.load() - here);
    const double made_there = player->SndGetMsFeature(0) - there;
    std::printf("%-46s %9s %9s %7s %7s\n", "", "ours", "reference", "ratio", "goal");
    bool held =
        line("chunk over two bare round trips, CPU", median(ratios), 1, 1.5, "medians of pairs");
    line("  of which", median(ours), median(reference), 1.5, "us of both processes");
    held = line("allocations of the client, per 2000 chunks", made_here, 0, 0, "") && held;
    held = line("allocations of the service, per 2000 chunks", made_there, 0, 0, "") && held;
    held = line("slowest of 16 streams over the median one", slowest_stream(service), 1, 4, "") &&
           held;
    return held ? 0 : 1;
}
