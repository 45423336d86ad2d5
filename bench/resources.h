// What this process and the children that it has made have used so far.
#pragma once

#include <cstdint>
#include <functional>
#include <sys/types.h>

// User and system time of all threads, in nanoseconds.
uint64_t cpu_ns();

// Calls of malloc(), calloc() and realloc(), which the program has in place of the C library's.
uint64_t allocations();

// A child that runs `work` and counts as ours; it dies with its object or with us. Make it while
// this process has one thread.
class child {
  public:
    explicit child(const std::function<void()>& work);
    ~child();
    child(const child&) = delete;
    child& operator=(const child&) = delete;

  private:
    pid_t pid_;
};
