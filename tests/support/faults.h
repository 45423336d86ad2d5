// Failures on demand in what the module calls of the C library and the platform. The linker sends
// the module's own calls here (see faults.cmake); calls inside other libraries are not affected.
#pragma once

#include <cstdint>
#include <functional>
#include <pthread.h>
#include <vector>

struct fault_plan {
    // Allocations of the module (malloc, calloc, strdup and the str_parms makers) since the reset,
    // and the one, counted from 1, that fails; 0 for none.
    int allocations = 0;
    int failing_allocation = 0;

    int memset_s_result = 0;  // not 0: the fill is not done and this is the result
    // Mutexes that report a failure of every lock and unlock, though they do lock and unlock.
    std::vector<const pthread_mutex_t*> failing_mutexes;
    int clock_gettime_result = 0;
    uint64_t clock_us = 3'600'000'000;  // of CLOCK_MONOTONIC, which only a test moves

    // What usleep was asked for. It does not sleep, and moves the clock by a microsecond.
    std::vector<uint64_t> sleeps_us;
    std::function<void()> in_usleep;
    int usleep_result = 0;  // of the next call only
};

// Of the calling thread.
fault_plan& faults();
void reset_faults();
