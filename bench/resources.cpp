#include "bench/resources.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include "bench/subject.h"

namespace {

uint64_t time_of(clockid_t clock) {
    timespec time = {};
    if (clock_gettime(clock, &time) != 0) {
        give_up("a process cannot be asked for its CPU time");
    }
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(time.tv_nsec);
}

std::vector<pid_t>& children() {
    static std::vector<pid_t> pids;
    return pids;
}

// Shared with the children; until it is there, the count goes nowhere.
std::atomic<uint64_t> before_start{0};
std::atomic<uint64_t>* counter = &before_start;

__attribute__((constructor)) void share_counter() {
    void* const page =
        mmap(nullptr, sizeof(*counter), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page != MAP_FAILED) {
        counter = static_cast<std::atomic<uint64_t>*>(page);  // zeros are a counter at 0
    }
}

}  // namespace

// The C library's own, under the names that it has for programs that replace them.
extern "C" {
void* __libc_malloc(size_t size);                // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t count, size_t size);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, size_t size);  // NOLINT(bugprone-reserved-identifier)

void* malloc(size_t size) {
    counter->fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    counter->fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    counter->fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}

uint64_t cpu_ns() {
    uint64_t sum = time_of(CLOCK_PROCESS_CPUTIME_ID);
    for (const pid_t pid : children()) {
        clockid_t clock = 0;
        if (clock_getcpuclockid(pid, &clock) != 0) {
            give_up("a child of the benchmark has gone");
        }
        sum += time_of(clock);
    }
    return sum;
}

uint64_t allocations() {
    return counter->load(std::memory_order_relaxed);
}

child::child(const std::function<void()>& work) : pid_(fork()) {
    if (pid_ < 0) {
        give_up("cannot make a process");
    }
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        try {
            work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "bench: %s\n", error.what());
        }
        _exit(1);
    }
    children().push_back(pid_);
}

child::~child() {
    children().erase(std::find(children().begin(), children().end(), pid_));
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}
