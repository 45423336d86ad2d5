// A mutex that clang's thread-safety analysis knows; other compilers see nothing of that.
#pragma once

#include <mutex>

#if defined(__clang__)
#define BINDER_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define BINDER_THREAD_ANNOTATION(x)
#endif

#define BINDER_GUARDED_BY(m) BINDER_THREAD_ANNOTATION(guarded_by(m))
#define BINDER_REQUIRES(m) BINDER_THREAD_ANNOTATION(requires_capability(m))

namespace corvex_binder {

class BINDER_THREAD_ANNOTATION(capability("mutex")) guard_mutex {
  public:
    void lock() BINDER_THREAD_ANNOTATION(acquire_capability()) { native_.lock(); }
    void unlock() BINDER_THREAD_ANNOTATION(release_capability()) { native_.unlock(); }

  private:
    std::mutex native_;
};

class BINDER_THREAD_ANNOTATION(scoped_lockable) guard_lock {
  public:
    explicit guard_lock(guard_mutex& mutex) BINDER_THREAD_ANNOTATION(acquire_capability(mutex))
        : mutex_(mutex) {
        mutex_.lock();
    }
    ~guard_lock() BINDER_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }
    guard_lock(const guard_lock&) = delete;
    guard_lock& operator=(const guard_lock&) = delete;

  private:
    guard_mutex& mutex_;
};

}  // namespace corvex_binder
