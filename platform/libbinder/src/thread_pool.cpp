#include "thread_pool.h"

#include <chrono>
#include <cstring>
#include <pthread.h>

#include "log.h"

namespace corvex_binder {

namespace {

constexpr size_t kKeptIdle = 2;
constexpr std::chrono::seconds kIdleTime(5);

thread_local bool is_running_a_job = false;

}  // namespace

// Lives for ever: its threads outlive main().
thread_pool& thread_pool::get() {
    static auto* pool = new thread_pool;
    return *pool;
}

thread_pool::thread_pool() {
    pthread_sigmask(SIG_SETMASK, nullptr, &signals_);
}

void thread_pool::post(std::function<void()>&& job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    jobs_.push_back(std::move(job));
    spawn_if_needed();
    work_.notify_one();
}

void thread_pool::limit_running(size_t count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    running_limit_ = count < kMaxThreads ? count : kMaxThreads;
    work_.notify_all();
}

// With the lock held.
void thread_pool::spawn_if_needed() {
    if (jobs_.size() <= idle_ || !may_run() || threads_ >= kMaxThreads) {
        return;
    }
    // Counted as idle from the start, so that a burst of jobs makes as many threads as it needs.
    pthread_t thread = {};
    const int error = pthread_create(&thread, nullptr, run_thread, this);
    if (error == 0) {
        pthread_detach(thread);
        ++threads_;
        ++idle_;
    } else if (!complained_) {
        complained_ = true;
        BINDER_LOG(ERROR, "no thread for a call: %s; calls wait for one of the %zu that there are",
                   strerror(error), threads_);
    }
}

void* thread_pool::run_thread(void* pool) {
    auto* self = static_cast<thread_pool*>(pool);
    pthread_sigmask(SIG_SETMASK, &self->signals_, nullptr);
    pthread_setname_np(pthread_self(), "binder-pool");
    self->work(false);
    return nullptr;
}

void thread_pool::join() {
    start();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++threads_;
        ++idle_;
    }
    for (;;) {
        work(true);
    }
}

// Runs jobs; returns when the thread is not needed any more. It has been counted as idle.
void thread_pool::work(bool stays) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        const auto ready = [this] { return !jobs_.empty() && may_run(); };
        if (stays) {
            work_.wait(lock, ready);
        } else if (!work_.wait_until(lock, std::chrono::steady_clock::now() + kIdleTime, ready)) {
            if (idle_ > kKeptIdle) {
                --idle_;
                --threads_;
                return;
            }
            continue;
        }
        --idle_;
        ++running_;
        {
            const std::function<void()> job = std::move(jobs_.front());
            jobs_.pop_front();
            lock.unlock();
            is_running_a_job = true;
            job();
        }
        is_running_a_job = false;
        lock.lock();
        --running_;
        ++idle_;
        if (!jobs_.empty()) {
            work_.notify_one();
        }
    }
}

thread_pool::waiting::waiting() {
    if (is_running_a_job) {
        thread_pool& pool = get();
        const std::lock_guard<std::mutex> lock(pool.mutex_);
        --pool.running_;
        pool.spawn_if_needed();
        pool.work_.notify_one();
    }
}

thread_pool::waiting::~waiting() {
    if (is_running_a_job) {
        thread_pool& pool = get();
        const std::lock_guard<std::mutex> lock(pool.mutex_);
        ++pool.running_;
    }
}

}  // namespace corvex_binder
