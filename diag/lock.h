// A mutex that lives in a zero-filled record, and the guard that locks it for a scope. Threads get
// it in the order in which they came.
//
// A mutex that cannot be locked or unlocked is logged with the operation's name, and the operation
// goes on: stopping a stream would be worse than what a broken mutex risks.
#pragma once

#include "diag/fair_lock.h"

// Not recursive. All bits zero is unlocked.
struct HAL_THREAD_ANNOTATION(capability("mutex")) hal_mutex {
    struct fair_lock turn;
    pthread_mutex_t native;  // locked by who has the turn, who never waits for it
};

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
