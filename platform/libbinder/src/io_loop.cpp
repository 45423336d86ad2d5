#include "io_loop.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <signal.h>
#include <sys/epoll.h>
#include <utility>
#include <vector>

#include "log.h"
#include "thread_pool.h"
#include "unique_fd.h"

namespace corvex_binder {

namespace {

constexpr std::chrono::milliseconds kTick(500);

std::atomic<bool> cut_off{false};

}  // namespace

// Lives for ever: its thread outlives main().
io_loop* io_loop::get() {
    static std::mutex mutex;
    static io_loop* loop = nullptr;
    // First: another thread may have held the mutex when this process was forked.
    if (is_cut_off()) {
        BINDER_LOG(ERROR, "a forked process cannot reach others: start it with exec");
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (loop == nullptr) {
        // Remembers this thread's signals before there are threads of ours.
        thread_pool::get();
        auto* made = new io_loop;
        if (made->start()) {
            loop = made;
        } else {
            BINDER_LOG(ERROR, "other processes cannot be reached: %s", strerror(errno));
            delete made;
        }
    }
    return loop;
}

bool io_loop::is_cut_off() {
    return cut_off;
}

bool io_loop::start() {
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    if (epoll_ < 0) {
        return false;
    }
    // Signals are for the program's own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread = {};
    const int error = pthread_create(&thread, nullptr, run_thread, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) {
        unique_fd(epoll_).reset();
        errno = error;
        return false;
    }
    pthread_detach(thread);
    pthread_atfork(nullptr, nullptr, [] { cut_off = true; });
    return true;
}

bool io_loop::add(const std::shared_ptr<endpoint>& who, uint32_t events) {
    const std::lock_guard<std::mutex> lock(mutex_);
    who->loop_id_ = ++last_id_;
    epoll_event event = {};
    event.events = events;
    event.data.u64 = who->loop_id_;
    // Before it can be found: the thread may be at it at once.
    endpoints_[who->loop_id_] = who;
    if (epoll_ctl(epoll_, EPOLL_CTL_ADD, who->fd(), &event) != 0) {
        endpoints_.erase(who->loop_id_);
        return false;
    }
    return true;
}

void io_loop::set_events(const endpoint& who, uint32_t events) {
    epoll_event event = {};
    event.events = events;
    event.data.u64 = who.loop_id();
    epoll_ctl(epoll_, EPOLL_CTL_MOD, who.fd(), &event);
}

void io_loop::remove(const endpoint& who) {
    std::shared_ptr<endpoint> removed;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = endpoints_.find(who.loop_id());
    if (found != endpoints_.end()) {
        epoll_ctl(epoll_, EPOLL_CTL_DEL, who.fd(), nullptr);
        removed = std::move(found->second);
        ticks_wanted_ -= std::exchange(removed->wants_ticks_, false) ? 1 : 0;
        endpoints_.erase(found);
    }
}

void io_loop::want_ticks(endpoint& who, bool wants) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (endpoints_.count(who.loop_id_) > 0 && std::exchange(who.wants_ticks_, wants) != wants) {
        ticks_wanted_ += wants ? 1 : -1;
    }
}

std::shared_ptr<endpoint> io_loop::find(uint64_t id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = endpoints_.find(id);
    return found != endpoints_.end() ? found->second : nullptr;
}

void* io_loop::run_thread(void* loop) {
    pthread_setname_np(pthread_self(), "binder-io");
    static_cast<io_loop*>(loop)->run();
    return nullptr;
}

void io_loop::tick() {
    std::vector<std::shared_ptr<endpoint>> all;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [id, who] : endpoints_) {
            all.push_back(who);
        }
    }
    for (const auto& who : all) {
        who->on_tick();
    }
}

void io_loop::run() {
    epoll_event events[64];
    auto next_tick = std::chrono::steady_clock::now();
    for (;;) {
        const int timeout = ticks_wanted_ > 0 ? static_cast<int>(kTick.count()) : -1;
        const int count = epoll_wait(epoll_, events, 64, timeout);
        for (int i = 0; i < count; ++i) {
            if (const auto who = find(events[i].data.u64)) {
                who->on_events(events[i].events);
            }
        }
        const auto now = std::chrono::steady_clock::now();
        if (ticks_wanted_ > 0 && now >= next_tick) {
            next_tick = now + kTick;
            tick();
        }
    }
}

}  // namespace corvex_binder
