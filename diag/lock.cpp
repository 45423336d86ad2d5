#include "diag/lock.h"

#include <time.h>

#include <android/log.h>

struct lock_waiter {
    pthread_cond_t may_take;
    struct lock_waiter* next;
};

namespace {

// Whoever leaves looks for waiters behind clearing `is_taken`, and whoever waits looks at
// `is_taken` behind joining the line: all in one order, so that one of the two sees the other.

bool take(hal_mutex& mutex) {
    return !__atomic_exchange_n(&mutex.is_taken, true, __ATOMIC_SEQ_CST);
}

void set_first(hal_mutex& mutex, struct lock_waiter* waiter) {
    __atomic_store_n(&mutex.first, waiter, __ATOMIC_SEQ_CST);
}

// These three with the line's guard.

void join_line(hal_mutex& mutex, struct lock_waiter* waiter) {
    if (mutex.first == nullptr) {
        set_first(mutex, waiter);
    } else {
        mutex.last->next = waiter;
    }
    mutex.last = waiter;
}

void wake_first(const hal_mutex& mutex) {
    if (mutex.first != nullptr) {
        pthread_cond_signal(&mutex.first->may_take);
    }
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
    set_first(mutex, waiter->next);
    wake_first(mutex);
}

// Waits behind those who came before, until then where that is not null. Whether it was taken.
bool take_in_turn(hal_mutex& mutex, const struct timespec* until) {
    struct lock_waiter self = {PTHREAD_COND_INITIALIZER, nullptr};
    pthread_mutex_lock(&mutex.line_guard);
    join_line(mutex, &self);
    bool is_mine = false;
    for (int error = 0; error == 0 && !is_mine;) {
        is_mine = mutex.first == &self && take(mutex);
        if (!is_mine) {
            error = until != nullptr
                        ? pthread_cond_timedwait(&self.may_take, &mutex.line_guard, until)
                        : pthread_cond_wait(&self.may_take, &mutex.line_guard);
        }
    }
    leave_line(mutex, &self);
    pthread_mutex_unlock(&mutex.line_guard);
    pthread_cond_destroy(&self.may_take);
    return is_mine;
}

// What is taken.
void lock_native(hal_mutex& mutex, const char* tag, const char* operation) {
    if (pthread_mutex_lock(&mutex.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex lock fail", operation);
    }
}

}  // namespace

bool is_wanted(const hal_mutex& mutex) {
    return __atomic_load_n(&mutex.first, __ATOMIC_SEQ_CST) != nullptr;
}

bool try_lock(hal_mutex& mutex, const char* tag, const char* operation) {
    if (is_wanted(mutex) || !take(mutex)) {
        return false;
    }
    lock_native(mutex, tag, operation);
    return true;
}

bool try_lock_for(uint64_t longest_us, hal_mutex& mutex, const char* tag, const char* operation) {
    constexpr uint64_t ns_per_s = 1'000'000'000;
    struct timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    const uint64_t ns = static_cast<uint64_t>(until.tv_nsec) + longest_us * 1000;
    until.tv_sec += static_cast<time_t>(ns / ns_per_s);
    until.tv_nsec = static_cast<long>(ns % ns_per_s);
    if (!take_in_turn(mutex, &until)) {
        return false;
    }
    lock_native(mutex, tag, operation);
    return true;
}

// The analysis does not see that the C library's function unlocks.
HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
void unlock(hal_mutex& mutex, const char* tag, const char* operation) {
    if (pthread_mutex_unlock(&mutex.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex unlock fail", operation);
    }
    __atomic_store_n(&mutex.is_taken, false, __ATOMIC_SEQ_CST);
    if (is_wanted(mutex)) {
        pthread_mutex_lock(&mutex.line_guard);
        wake_first(mutex);
        pthread_mutex_unlock(&mutex.line_guard);
    }
}

hal_lock::hal_lock(hal_mutex& mutex, const char* tag, const char* operation)
    : mutex_(mutex), tag_(tag), operation_(operation) {
    if (!try_lock(mutex, tag, operation)) {
        take_in_turn(mutex, nullptr);
        lock_native(mutex, tag, operation);
    }
}

hal_lock::~hal_lock() {
    unlock(mutex_, tag_, operation_);
}
