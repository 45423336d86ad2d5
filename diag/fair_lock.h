// A lock that threads get in the order in which they came. The C library's mutex goes to whoever
// asks while it is free, so that a thread which unlocks it and locks it again at once, as one that
// writes stream data does, would keep all others out for seconds.
//
// Clang's thread-safety analysis reads the annotations; other compilers see nothing of them.
#pragma once

#include <pthread.h>
#include <stdint.h>

#if defined(__clang__)
#define HAL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define HAL_THREAD_ANNOTATION(x)
#endif

#define HAL_GUARDED_BY(mutex) HAL_THREAD_ANNOTATION(guarded_by(mutex))
#define HAL_REQUIRES(mutex) HAL_THREAD_ANNOTATION(requires_capability(mutex))

struct lock_waiter;  // in its thread's stack

// Not recursive. All bits zero is free.
struct HAL_THREAD_ANNOTATION(capability("mutex")) fair_lock {
    bool is_taken;  // atomic
    // Those who wait. Only the first of them may take it, and anybody while there are none.
    pthread_mutex_t line_guard;
    struct lock_waiter* first;  // atomic: read without the guard
    struct lock_waiter* last;
};

// Whether another thread waits for it, as far as is known by now.
inline bool is_wanted(const fair_lock& lock) {
    return __atomic_load_n(&lock.first, __ATOMIC_SEQ_CST) != nullptr;
}

void take_lock(fair_lock& lock) HAL_THREAD_ANNOTATION(acquire_capability(lock));

// Takes it unless another thread has it or waits for it.
bool try_take(fair_lock& lock) HAL_THREAD_ANNOTATION(try_acquire_capability(true, lock));

// Waits for the others for `longest_us` microseconds of the wall clock: shorter or longer when that
// clock is set meanwhile, as C libraries agree on no other for this.
bool take_within(fair_lock& lock, uint64_t longest_us)
    HAL_THREAD_ANNOTATION(try_acquire_capability(true, lock));

// Of who has taken it.
void give_back(fair_lock& lock) HAL_THREAD_ANNOTATION(release_capability(lock));
