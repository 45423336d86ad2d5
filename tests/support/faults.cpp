#include "tests/support/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <pthread.h>
#include <time.h>
#include <unistd.h>
#include <utility>

#include <cutils/str_parms.h>

namespace {

thread_local fault_plan plan;

bool allocation_fails() {
    return ++plan.allocations == plan.failing_allocation;
}

bool fails(const pthread_mutex_t* mutex) {
    const auto& failing = plan.failing_mutexes;
    return std::find(failing.begin(), failing.end(), mutex) != failing.end();
}

}  // namespace

fault_plan& faults() {
    return plan;
}

void reset_faults() {
    plan = {};
}

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
char* __real_strdup(const char* text);
struct str_parms* __real_str_parms_create();
struct str_parms* __real_str_parms_create_str(const char* text);
char* __real_str_parms_to_str(struct str_parms* parms);
int __real_memset_s(void* dest, size_t dest_size, int value, size_t count);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const struct timespec* until);
int __real_clock_gettime(clockid_t clock, struct timespec* time);

void* __wrap_malloc(size_t size) {
    return allocation_fails() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
    return allocation_fails() ? nullptr : __real_calloc(count, size);
}
char* __wrap_strdup(const char* text) {
    return allocation_fails() ? nullptr : __real_strdup(text);
}
struct str_parms* __wrap_str_parms_create() {
    return allocation_fails() ? nullptr : __real_str_parms_create();
}
struct str_parms* __wrap_str_parms_create_str(const char* text) {
    return allocation_fails() ? nullptr : __real_str_parms_create_str(text);
}
char* __wrap_str_parms_to_str(struct str_parms* parms) {
    return allocation_fails() ? nullptr : __real_str_parms_to_str(parms);
}
int __wrap_memset_s(void* dest, size_t dest_size, int value, size_t count) {
    return plan.memset_s_result != 0 ? plan.memset_s_result
                                     : __real_memset_s(dest, dest_size, value, count);
}
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_lock(mutex);
    return fails(mutex) ? EINVAL : result;
}
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_unlock(mutex);
    return fails(mutex) ? EINVAL : result;
}
// Really waits, and moves the clock by what it was asked for when that was in vain.
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const struct timespec* until) {
    struct timespec from = {};
    __real_clock_gettime(CLOCK_REALTIME, &from);
    const int result = __real_pthread_cond_timedwait(condition, mutex, until);
    if (result == ETIMEDOUT) {
        plan.clock_us += static_cast<uint64_t>((until->tv_sec - from.tv_sec) * 1'000'000 +
                                               (until->tv_nsec - from.tv_nsec + 999) / 1000);
    }
    return result;
}
int __wrap_clock_gettime(clockid_t clock, struct timespec* time) {
    if (clock != CLOCK_MONOTONIC) {
        return __real_clock_gettime(clock, time);
    }
    time->tv_sec = static_cast<time_t>(plan.clock_us / 1'000'000);
    time->tv_nsec = static_cast<long>(plan.clock_us % 1'000'000 * 1000);
    return plan.clock_gettime_result;
}
int __wrap_usleep(useconds_t duration_us) {
    plan.sleeps_us.push_back(duration_us);
    ++plan.clock_us;
    if (plan.in_usleep) {
        plan.in_usleep();
    }
    return std::exchange(plan.usleep_result, 0);
}

}  // extern "C"
