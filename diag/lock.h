// A mutex that lives in a zero-filled record, and the guard that locks it for a scope. Threads get
// it in the order in which they came: the C library's own goes to whoever asks while it is free, so
// that a thread which unlocks it and locks it again at once, as one that writes stream data does,
// would keep all others out for seconds.
//
// A mutex that cannot be locked or unlocked is logged with the operation's name, and the operation
// goes on: stopping a stream would be worse than what a broken mutex risks.
//
// Clang's thread-safety analysis reads the annotations; other compilers see nothing of them.
#pragma once

#include <pthread.h>
#include <stdint.h>

#include "diag/relaxed.h"

#if defined(__clang__)
#define HAL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define HAL_THREAD_ANNOTATION(x)
#endif

#define HAL_GUARDED_BY(mutex) HAL_THREAD_ANNOTATION(guarded_by(mutex))
#define HAL_REQUIRES(mutex) HAL_THREAD_ANNOTATION(requires_capability(mutex))

struct lock_waiter;  // in its thread's stack

// A non-recursive mutex. All bits zero is unlocked.
struct HAL_THREAD_ANNOTATION(capability("mutex")) hal_mutex {
    pthread_mutex_t native;
    // Those who wait. Only the first of them goes for `native`; others go for it while there are
    // none.
    pthread_mutex_t line_guard;
    struct lock_waiter* first;  // read without the guard: load_relaxed() and store_relaxed()
    struct lock_waiter* last;
};

// Whether another thread waits for it, as far as is known by now.
inline bool is_wanted(const hal_mutex& mutex) {
    return load_relaxed(mutex.first) != nullptr;
}

// Locks the mutex unless another thread has it or waits for it. A mutex that is broken counts as
// locked.
bool try_lock(hal_mutex& mutex, const char* tag, const char* operation)
    HAL_THREAD_ANNOTATION(try_acquire_capability(true, mutex));

// The same, and waits for the others for `longest_us` microseconds of the wall clock: shorter or
// longer when that clock is set meanwhile, as C libraries agree on no other for this.
bool try_lock_for(uint64_t longest_us, hal_mutex& mutex, const char* tag, const char* operation)
    HAL_THREAD_ANNOTATION(try_acquire_capability(true, mutex));

// Unlocks what these have locked.
void unlock(hal_mutex& mutex, const char* tag, const char* operation)
    HAL_THREAD_ANNOTATION(release_capability(mutex));

class HAL_THREAD_ANNOTATION(scoped_lockable) hal_lock {
  public:
    // Borrows the mutex for the scope. `tag` and `operation` stand in the line that a failure logs.
    hal_lock(hal_mutex& mutex, const char* tag, const char* operation)
        HAL_THREAD_ANNOTATION(acquire_capability(mutex));
    ~hal_lock() HAL_THREAD_ANNOTATION(release_capability());

    hal_lock(const hal_lock&) = delete;
    hal_lock& operator=(const hal_lock&) = delete;

  private:
    hal_mutex& mutex_;
    const char* tag_;
    const char* operation_;
};
