#include "diag/lock.h"

#include <errno.h>
#include <time.h>

#include <android/log.h>

namespace {

// What an attempt to lock gave, as whether the mutex counts as locked.
bool is_locked(int error, const char* tag, const char* operation) {
    if (error == EBUSY || error == ETIMEDOUT) {
        return false;
    }
    if (error != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex lock fail", operation);
    }
    return true;
}

}  // namespace

bool try_lock(hal_mutex& mutex, const char* tag, const char* operation) {
    return is_locked(pthread_mutex_trylock(&mutex.native), tag, operation);
}

bool try_lock_for(uint64_t longest_us, hal_mutex& mutex, const char* tag, const char* operation) {
    constexpr uint64_t ns_per_s = 1'000'000'000;
    struct timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    const uint64_t ns = static_cast<uint64_t>(until.tv_nsec) + longest_us * 1000;
    until.tv_sec += static_cast<time_t>(ns / ns_per_s);
    until.tv_nsec = static_cast<long>(ns % ns_per_s);
    return is_locked(pthread_mutex_timedlock(&mutex.native, &until), tag, operation);
}

// The analysis does not see that the C library's function unlocks.
HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
void unlock(hal_mutex& mutex, const char* tag, const char* operation) {
    if (pthread_mutex_unlock(&mutex.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex unlock fail", operation);
    }
}

hal_lock::hal_lock(hal_mutex& mutex, const char* tag, const char* operation)
    : mutex_(mutex), tag_(tag), operation_(operation) {
    is_locked(pthread_mutex_lock(&mutex.native), tag, operation);
}

hal_lock::~hal_lock() {
    unlock(mutex_, tag_, operation_);
}
