#include "io_loop.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <sys/epoll.h>
#include <utility>
#include <vector>

#include "executor.h"
#include "log.h"
#include "unique_fd.h"

namespace corvex_binder {

namespace {

constexpr std::chrono::milliseconds kTick(1000);

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
    if (!poller.valid()) {
        return errno;
    }
    epoll_ = poller.get();
    // Signals are for the program's own threads.
    const int error = start_thread(run_thread, this, true);
    if (error != 0) {
        return error;
    }
    poller.release();
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
        endpoints_.erase(found);
    }
}

void* io_loop::run_thread(void* loop) {
    pthread_setname_np(pthread_self(), "binder-io");
    is_loop_thread = true;
    static_cast<io_loop*>(loop)->run();
    return nullptr;
}

// Its events, or a tick where there are none. Whoever is removed meanwhile may end here, which can
// run anything.
void io_loop::tell(uint64_t id, uint32_t events) {
    std::shared_ptr<endpoint> who;
    {
        const guard_lock lock(mutex_);
        const auto found = endpoints_.find(id);
        if (found == endpoints_.end()) {
            return;
        }
        who = found->second;
    }
    if (events != 0) {
        who->on_events(events);
    } else {
        who->on_tick();
    }
    if (who.use_count() == 1) {
        executor::get().release_later(this, nullptr, std::move(who));
    }
}

void io_loop::run() {
    epoll_event events[64];
    auto next_tick = std::chrono::steady_clock::now();
    for (;;) {
        const int count = epoll_wait(epoll_, events, 64, static_cast<int>(kTick.count()));
        for (int i = 0; i < count; ++i) {
            tell(events[i].data.u64, events[i].events);
        }
        const auto now = std::chrono::steady_clock::now();
        if (now < next_tick) {
            continue;
        }
        next_tick = now + kTick;
        std::vector<uint64_t> all;
        {
            const guard_lock lock(mutex_);
            for (const auto& [id, who] : endpoints_) {
                all.push_back(id);
            }
        }
        for (const uint64_t id : all) {
            tell(id, 0);
        }
    }
}

}  // namespace corvex_binder
