#include "diag/lock.h"

#include <errno.h>
#include <time.h>

#include <android/log.h>

struct lock_waiter {
    pthread_cond_t is_first;
    struct lock_waiter* next;
};

namespace {

// Both with the line's guard.
void join_line(hal_mutex& mutex, struct lock_waiter* waiter) {
    if (mutex.first == nullptr) {
        store_relaxed(mutex.first, waiter);
    } else {
        mutex.last->next = waiter;
    }
    mutex.last = waiter;
}

void leave_line(hal_mutex& mutex, const struct lock_waiter* waiter) {
    struct lock_waiter* before = nullptr;
    for (struct lock_waiter* each = mutex.first; each != waiter; each = each->next) {
        before = each;
    }
    if (mutex.last == waiter) {
        mutex.last = before;
    }
    if (before != nullptr) {
        before->next = waiter->next;
        return;
    }
    store_relaxed(mutex.first, waiter->next);
    if (waiter->next != nullptr) {
        pthread_cond_signal(&waiter->next->is_first);
    }
}

// Waits behind those who came before, until then where that is not null, and gives what the last
// attempt to lock gave.
int lock_in_turn(hal_mutex& mutex, const struct timespec* until) {
    struct lock_waiter self = {PTHREAD_COND_INITIALIZER, nullptr};
    int error = 0;
    pthread_mutex_lock(&mutex.line_guard);
    join_line(mutex, &self);
    while (mutex.first != &self && error == 0) {
        error = until != nullptr ? pthread_cond_timedwait(&self.is_first, &mutex.line_guard, until)
                                 : pthread_cond_wait(&self.is_first, &mutex.line_guard);
    }
    if (mutex.first == &self) {
        pthread_mutex_unlock(&mutex.line_guard);
        error = until != nullptr ? pthread_mutex_timedlock(&mutex.native, until)
                                 : pthread_mutex_lock(&mutex.native);
        pthread_mutex_lock(&mutex.line_guard);
    }
    leave_line(mutex, &self);
    pthread_mutex_unlock(&mutex.line_guard);
    pthread_cond_destroy(&self.is_first);
    return error;
}

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
    return !is_wanted(mutex) && is_locked(pthread_mutex_trylock(&mutex.native), tag, operation);
}

bool try_lock_for(uint64_t longest_us, hal_mutex& mutex, const char* tag, const char* operation) {
    constexpr uint64_t ns_per_s = 1'000'000'000;
    struct timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    const uint64_t ns = static_cast<uint64_t>(until.tv_nsec) + longest_us * 1000;
    until.tv_sec += static_cast<time_t>(ns / ns_per_s);
    until.tv_nsec = static_cast<long>(ns % ns_per_s);
    return is_locked(lock_in_turn(mutex, &until), tag, operation);
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
    if (!try_lock(mutex, tag, operation)) {
        is_locked(lock_in_turn(mutex, nullptr), tag, operation);
    }
}

hal_lock::~hal_lock() {
    unlock(mutex_, tag_, operation_);
}
