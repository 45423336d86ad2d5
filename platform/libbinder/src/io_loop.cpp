#include "io_loop.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <utility>
#include <vector>

#include "executor.h"
#include "log.h"
#include "thread.h"
#include "unique_fd.h"

namespace corvex_binder {

namespace {

constexpr std::chrono::milliseconds kTick(500);

std::atomic<bool> cut_off{false};

thread_local bool is_loop_thread = false;

}  // namespace

// Lives for ever: its thread outlives main().
io_loop* io_loop::get() {
    static auto* mutex = new guard_mutex;
    static io_loop* loop = nullptr;
    // First: another thread may have held the mutex when this process was forked.
    if (is_cut_off()) {
        BINDER_LOG(ERROR, "a forked process cannot reach others: start it with exec");
        return nullptr;
    }
    const guard_lock lock(*mutex);
    if (loop == nullptr) {
        remember_signals();
        auto* made = new io_loop;
        // The executor first: what the loop reads may need it at once.
        int error = executor::get().start();
        if (error == 0) {
            error = made->start();
        }
        if (error == 0) {
            loop = made;
        } else {
            BINDER_LOG(ERROR, "other processes cannot be reached: %s", strerror(error));
            delete made;
        }
    }
    return loop;
}

bool io_loop::is_cut_off() {
    return cut_off;
}

bool io_loop::is_its_thread() {
    return is_loop_thread;
}

int io_loop::start() {
    unique_fd poller(epoll_create1(EPOLL_CLOEXEC));
    unique_fd waker(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u64 = 0;  // nobody's id
    if (!poller.valid() || !waker.valid() ||
        epoll_ctl(poller.get(), EPOLL_CTL_ADD, waker.get(), &event) != 0) {
        return errno;
    }
    epoll_ = poller.get();
    wake_ = waker.get();
    // Signals are for the program's own threads.
    const int error = start_thread(run_thread, this, true);
    if (error != 0) {
        return error;
    }
    poller.release();
    waker.release();
    pthread_atfork(nullptr, nullptr, [] { cut_off = true; });
    return 0;
}

bool io_loop::add(const std::shared_ptr<endpoint>& who, uint32_t events) {
    const guard_lock lock(mutex_);
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
    event.data.u64 = who.loop_id_;
    epoll_ctl(epoll_, EPOLL_CTL_MOD, who.fd(), &event);
}

void io_loop::remove(const endpoint& who) {
    std::shared_ptr<endpoint> removed;
    const guard_lock lock(mutex_);
    const auto found = endpoints_.find(who.loop_id_);
    if (found != endpoints_.end()) {
        epoll_ctl(epoll_, EPOLL_CTL_DEL, who.fd(), nullptr);
        removed = std::move(found->second);
        ticks_wanted_ -= std::exchange(removed->wants_ticks_, false) ? 1 : 0;
        endpoints_.erase(found);
    }
}

void io_loop::want_ticks(endpoint& who, bool wants) {
    const guard_lock lock(mutex_);
    if (endpoints_.count(who.loop_id_) > 0 && std::exchange(who.wants_ticks_, wants) != wants) {
        ticks_wanted_ += wants ? 1 : -1;
        // The thread may be waiting without an end.
        eventfd_write(wake_, 1);
    }
}

std::shared_ptr<endpoint> io_loop::find(uint64_t id) {
    const guard_lock lock(mutex_);
    const auto found = endpoints_.find(id);
    return found != endpoints_.end() ? found->second : nullptr;
}

void* io_loop::run_thread(void* loop) {
    pthread_setname_np(pthread_self(), "binder-io");
    is_loop_thread = true;
    static_cast<io_loop*>(loop)->run();
    return nullptr;
}

void io_loop::tick() {
    std::vector<std::shared_ptr<endpoint>> all;
    {
        const guard_lock lock(mutex_);
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
            eventfd_t wakes = 0;
            if (events[i].data.u64 == 0) {
                eventfd_read(wake_, &wakes);
            } else if (const auto who = find(events[i].data.u64)) {
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
