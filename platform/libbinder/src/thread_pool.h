// The threads that run this process's calls, and all else that may run other people's code:
// destructors, death recipients. They come when there is work and nobody is free, and go when
// nothing has come for a while.
//
// A thread that waits for the reply to a call of its own does not count as running, so that calls
// may nest however few are allowed at once.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <signal.h>

namespace corvex_binder {

class thread_pool {
  public:
    static constexpr size_t kMaxThreads = 64;

    static thread_pool& get();

    // Runs it on one of the pool's threads, some time. Any thread; does not block.
    void post(std::function<void()>&& job);

    // This process wants to serve calls.
    void start() { started_ = true; }
    bool started() const { return started_; }
    void limit_running(size_t count);
    // Makes this thread one of the pool's for good.
    [[noreturn]] void join();

    // Around a wait for something that another thread of the pool may have to do. For any thread;
    // does nothing on those that are not the pool's.
    class waiting {
      public:
        waiting();
        ~waiting();
        waiting(const waiting&) = delete;
        waiting& operator=(const waiting&) = delete;
    };

  private:
    thread_pool();
    static void* run_thread(void* pool);
    void work(bool stays);
    bool may_run() const { return running_ < running_limit_; }
    void spawn_if_needed();

    sigset_t signals_ = {};  // those that were blocked where the pool was first used
    std::atomic<bool> started_{false};

    std::mutex mutex_;
    std::condition_variable work_;
    std::deque<std::function<void()>> jobs_;
    size_t threads_ = 0;
    size_t idle_ = 0;
    size_t running_ = 0;  // jobs, without those that wait
    size_t running_limit_ = kMaxThreads;
    bool complained_ = false;
};

}  // namespace corvex_binder
