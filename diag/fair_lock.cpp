#include "diag/fair_lock.h"

#include <time.h>

struct lock_waiter {
    pthread_cond_t may_take;
    struct lock_waiter* next;
};

namespace {

// Whoever leaves looks for waiters behind clearing `is_taken`, and whoever waits looks at
// `is_taken` behind joining the line: all in one order, so that one of the two sees the other.

bool take(fair_lock& lock) {
    return !__atomic_exchange_n(&lock.is_taken, true, __ATOMIC_SEQ_CST);
}

void set_first(fair_lock& lock, struct lock_waiter* waiter) {
    __atomic_store_n(&lock.first, waiter, __ATOMIC_SEQ_CST);
}

// These three with the line's guard.

void join_line(fair_lock& lock, struct lock_waiter* waiter) {
    if (lock.first == nullptr) {
        set_first(lock, waiter);
    } else {
        lock.last->next = waiter;
    }
    lock.last = waiter;
}

void wake_first(const fair_lock& lock) {
    if (lock.first != nullptr) {
        pthread_cond_signal(&lock.first->may_take);
    }
}

void leave_line(fair_lock& lock, const struct lock_waiter* waiter) {
    struct lock_waiter* before = nullptr;
    for (struct lock_waiter* each = lock.first; each != waiter; each = each->next) {
        before = each;
    }
    if (lock.last == waiter) {
        lock.last = before;
    }
    if (before != nullptr) {
        before->next = waiter->next;
        return;
    }
    set_first(lock, waiter->next);
    wake_first(lock);
}

// Waits behind those who came before, until then where that is not null. Whether it was taken.
bool take_in_turn(fair_lock& lock, const struct timespec* until) {
    struct lock_waiter self = {PTHREAD_COND_INITIALIZER, nullptr};
    pthread_mutex_lock(&lock.line_guard);
    join_line(lock, &self);
    bool is_mine = false;
    for (int error = 0; error == 0 && !is_mine;) {
        is_mine = lock.first == &self && take(lock);
        if (!is_mine) {
            error = until != nullptr
                        ? pthread_cond_timedwait(&self.may_take, &lock.line_guard, until)
                        : pthread_cond_wait(&self.may_take, &lock.line_guard);
        }
    }
    leave_line(lock, &self);
    pthread_mutex_unlock(&lock.line_guard);
    pthread_cond_destroy(&self.may_take);
    return is_mine;
}

}  // namespace

bool try_take(fair_lock& lock) {
    return !is_wanted(lock) && take(lock);
}

// The analysis does not see what taking and giving back are made of.

HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
void take_lock(fair_lock& lock) {
    if (!try_take(lock)) {
        take_in_turn(lock, nullptr);
    }
}

bool take_within(fair_lock& lock, uint64_t longest_us) {
    constexpr uint64_t ns_per_s = 1'000'000'000;
    struct timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    const uint64_t ns = static_cast<uint64_t>(until.tv_nsec) + longest_us * 1000;
    until.tv_sec += static_cast<time_t>(ns / ns_per_s);
    until.tv_nsec = static_cast<long>(ns % ns_per_s);
    return take_in_turn(lock, &until);
}

HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
void give_back(fair_lock& lock) {
    __atomic_store_n(&lock.is_taken, false, __ATOMIC_SEQ_CST);
    if (is_wanted(lock)) {
        pthread_mutex_lock(&lock.line_guard);
        wake_first(lock);
        pthread_mutex_unlock(&lock.line_guard);
    }
}
