// What a chunk costs on its way to the player service: GetBuf, copy into the shared block,
// PutBufEx, with the service in this process and in another, beside two bare round trips of a byte
// over a socket pair to another process.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <android/log.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "player_client/player_functions.h"
#include "tests/player_client/fake_player.h"
#include "tests/support/scratch_dir.h"

namespace {

constexpr uint32_t player = 1;
constexpr int audio = 1;

[[noreturn]] void give_up(const char* why) {
    std::fprintf(stderr, "player_calls: %s\n", why);
    std::exit(1);
}

// A child that runs `work`, and dies with its object or with us.
class child {
  public:
    template <typename Work>
    explicit child(Work work) : pid_(fork()) {
        if (pid_ < 0) {
            give_up("fork failed");
        }
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

  private:
    pid_t pid_;
};

void offer_player() {
    android::ProcessState::self()->startThreadPool();
    if (android::defaultServiceManager()->addService(android::String16("zuavplayer"),
                                                     new fake_player_service("")) != 0) {
        give_up("the service could not be registered");
    }
}

// Bytes through an opened player, `chunk` at a time.
void feed(benchmark::State& state, size_t chunk) {
    void* handle = nullptr;
    uint32_t made = 0;
    if (ZUAVPLAYER_Open(&handle) != 0 || ZUAVPLAYER_Init(handle) < 0 ||
        ZUAVPLAYER_Create(handle, "attr", &made, 4) < 0) {
        give_up("no player");
    }
    void* const block = ZUAVPLAYER_GetCblk(handle);
    const std::vector<uint8_t> data(chunk, 0x5A);
    const auto bytes = static_cast<uint32_t>(chunk);
    for (auto _ : state) {
        if (ZUAVPLAYER_GetBuf(handle, player, audio, bytes, 0) != status_of(16)) {
            give_up("GetBuf failed");
        }
        std::memcpy(block, data.data(), chunk);
        if (ZUAVPLAYER_PutBufEx(handle, player, audio, bytes, 0) != status_of(17)) {
            give_up("PutBufEx failed");
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * chunk));
    ZUAVPLAYER_Close(handle);
}

void chunk_across_processes(benchmark::State& state) {
    feed(state, static_cast<size_t>(state.range(0)));
}
BENCHMARK(chunk_across_processes)->Arg(64)->Arg(1024)->Arg(8192)->UseRealTime();

void chunk_in_one_process(benchmark::State& state) {
    static const bool offered = (offer_player(), true);
    benchmark::DoNotOptimize(offered);
    feed(state, static_cast<size_t>(state.range(0)));
}
BENCHMARK(chunk_in_one_process)->Arg(64)->Arg(1024)->Arg(8192)->UseRealTime();

int echo_socket = -1;

void two_bare_round_trips(benchmark::State& state) {
    char byte = 'x';
    for (auto _ : state) {
        for (int trip = 0; trip < 2; ++trip) {
            if (write(echo_socket, &byte, 1) != 1 || read(echo_socket, &byte, 1) != 1 ||
                byte != 'x') {
                give_up("the echo failed");
            }
        }
    }
}
BENCHMARK(two_bare_round_trips)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    const scratch_dir folder;
    setenv("CORVEX_BINDER_DIR", folder.file("binder").c_str(), 1);
    __android_log_set_minimum_priority(ANDROID_LOG_ERROR);
    // Both children before this process has any thread.
    int ends[2];
    int ready[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0 || pipe(ready) != 0) {
        give_up("no sockets");
    }
    echo_socket = ends[0];
    const child echo([&] {
        char byte = 0;
        while (read(ends[1], &byte, 1) == 1 && write(ends[1], &byte, 1) == 1) {
        }
    });
    const child service([&] {
        offer_player();
        if (write(ready[1], "!", 1) == 1) {
            android::IPCThreadState::self()->joinThreadPool();
        }
    });
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) {
        give_up("the service did not start");
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
