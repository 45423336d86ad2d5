#include "executor.h"

#include <chrono>
#include <cstring>
#include <pthread.h>
#include <signal.h>
#include <utility>

#include "io_loop.h"
#include "log.h"

namespace android::corvex_binder {

namespace {

constexpr size_t kStackBytes = size_t{1} << 20;
constexpr size_t kKeptIdle = 2;
constexpr std::chrono::seconds kIdleTime(5);

sigset_t remembered = {};

struct thread_start {
    const char* name;
    std::function<void()> body;
};

void* run_thread(void* start) {
    const std::unique_ptr<thread_start> mine(static_cast<thread_start*>(start));
    pthread_setname_np(pthread_self(), mine->name);
    mine->body();
    return nullptr;
}

}  // namespace

void remember_signals() {
    pthread_sigmask(SIG_SETMASK, nullptr, &remembered);
}

int start_thread(const char* name, bool blocks_signals, std::function<void()> body) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) {
        return error;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    // A new thread has its maker's signals from its first moment on.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, blocks_signals ? &all : &remembered, &before);
    pthread_t thread = {};
    auto start = std::make_unique<thread_start>(thread_start{name, std::move(body)});
    error = pthread_create(&thread, &attributes, run_thread, start.get());
    if (error == 0) {
        static_cast<void>(start.release());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return error;
}

// Lives for ever: its threads outlive main().
executor& executor::get() {
    static auto* only = new executor;
    return *only;
}

int executor::start() {
    const Mutex::Autolock lock(mutex_);
    return threads_ > 0 ? 0 : spawn();
}

void executor::post(const void* queue, std::shared_ptr<peer> cause, job&& work) {
    if (io_loop::is_cut_off()) {
        // There are no threads here, and its objects are the parent's.
        static_cast<void>(new job(std::move(work)));
        return;
    }
    const Mutex::Autolock lock(mutex_);
    const auto [found, is_new] = queues_.try_emplace(queue);
    found->second.push_back({std::move(work), std::move(cause)});
    if (is_new) {
        ready_.push_back(queue);
        spawn_if_needed();
        changed_.notify_one();
    }
}

// Counted as idle from the start, so that a burst of jobs makes as many threads as it needs.
int executor::spawn() {
    const int error = start_thread("binder-executor", false, [this] { work(false); });
    if (error == 0) {
        ++threads_;
        ++idle_;
    }
    return error;
}

void executor::spawn_if_needed() {
    if (ready_.size() <= idle_ || threads_ >= kMaxThreads) {
        return;
    }
    const int error = spawn();
    if (error != 0 && !std::exchange(has_failed_, true)) {
        spawn_error_ = error;
    }
}

// The next queue whose first job may run, null where there is none. Those whose cause has enough
// running wait with that.
const void* executor::pick() {
    while (!ready_.empty()) {
        const void* queue = ready_.front();
        ready_.pop_front();
        const std::shared_ptr<peer>& cause = queues_[queue].front().cause;
        if (cause == nullptr || cause->running_jobs < kMaxJobsOfOnePeer) {
            return queue;
        }
        cause->parked_queues.push_back(queue);
    }
    return nullptr;
}

// Gives the lock back while it runs.
void executor::run_first_of(const void* queue) {
    entry running = std::move(queues_[queue].front());
    if (running.cause != nullptr) {
        ++running.cause->running_jobs;
    }
    const int error = std::exchange(spawn_error_, 0);
    mutex_.unlock();
    if (error != 0) {
        BINDER_LOG(ERROR,
                   "no further thread for one-way calls: %s; they wait for those that there are",
                   strerror(error));
    }
    running.work();
    running.work = nullptr;
    mutex_.lock();
    if (running.cause != nullptr) {
        --running.cause->running_jobs;
        std::deque<const void*>& parked = running.cause->parked_queues;
        if (!parked.empty()) {
            ready_.push_back(parked.front());
            parked.pop_front();
        }
    }
    const auto found = queues_.find(queue);
    found->second.pop_front();
    if (found->second.empty()) {
        queues_.erase(found);
    } else {
        ready_.push_back(queue);
    }
}

void executor::join() {
    mutex_.lock();
    ++threads_;
    ++idle_;
    mutex_.unlock();
    for (;;) {
        work(true);
    }
}

// Runs jobs; returns when the thread is not needed any more. It has been counted as idle.
void executor::work(bool stays) {
    const Mutex::Autolock lock(mutex_);
    for (;;) {
        const void* queue = pick();
        if (queue == nullptr) {
            const bool woken = changed_.wait_for(mutex_, kIdleTime) == std::cv_status::no_timeout;
            if (!woken && !stays && ready_.empty() && idle_ > kKeptIdle) {
                --idle_;
                --threads_;
                return;
            }
            continue;
        }
        --idle_;
        run_first_of(queue);
        ++idle_;
        spawn_if_needed();
        if (ready_.size() > 1) {
            changed_.notify_one();
        }
    }
}

}  // namespace android::corvex_binder
