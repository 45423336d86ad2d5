#include "io_loop.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <sys/epoll.h>
#include <utility>
#include <vector>

#include <android-base/unique_fd.h>

#include "executor.h"
#include "log.h"
#include "peer.h"

namespace android::corvex_binder {

namespace {

constexpr std::chrono::milliseconds kTick(1000);

std::atomic<bool> cut_off{false};

thread_local bool is_loop_thread = false;

epoll_event wanted(uint64_t id, bool input, bool output) {
    epoll_event event = {};
    event.events = (input ? EPOLLIN | EPOLLRDHUP : 0U) | (output ? EPOLLOUT : 0U);
    event.data.u64 = id;
    return event;
}

}  // namespace

// Lives for ever: its thread outlives main().
io_loop* io_loop::get() {
    static auto* mutex = new Mutex;
    static io_loop* loop = nullptr;
    // First: another thread may have held the mutex when this process was forked.
    if (is_cut_off()) {
        BINDER_LOG(ERROR, "a forked process cannot reach others: start it with exec");
        return nullptr;
    }
    const Mutex::Autolock lock(*mutex);
    if (loop == nullptr) {
        remember_signals();
        std::unique_ptr<io_loop> made(new io_loop);
        made->epoll_.reset(epoll_create1(EPOLL_CLOEXEC));
        // The executor first: what the loop reads may need it at once.
        int error = made->epoll_.ok() ? executor::get().start() : errno;
        if (error == 0) {
            // Signals are for the program's own threads.
            error = start_thread("binder-io", true, [self = made.get()] { self->run(); });
        }
        if (error != 0) {
            BINDER_LOG(ERROR, "other processes cannot be reached: %s", strerror(error));
            return nullptr;
        }
        pthread_atfork(nullptr, nullptr, [] { cut_off = true; });
        loop = made.release();
    }
    return loop;
}

bool io_loop::is_cut_off() {
    return cut_off;
}

bool io_loop::is_its_thread() {
    return is_loop_thread;
}

bool io_loop::add(const std::shared_ptr<endpoint>& who) {
    const Mutex::Autolock lock(mutex_);
    who->loop_id_ = ++last_id_;
    epoll_event event = wanted(who->loop_id_, true, false);
    // Before it can be found: the thread may be at it at once.
    endpoints_[who->loop_id_] = who;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, who->fd(), &event) != 0) {
        endpoints_.erase(who->loop_id_);
        return false;
    }
    return true;
}

void io_loop::set_events(const endpoint& who, bool input, bool output) {
    epoll_event event = wanted(who.loop_id_, input, output);
    epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, who.fd(), &event);
}

void io_loop::remove(const endpoint& who) {
    std::shared_ptr<endpoint> removed;
    const Mutex::Autolock lock(mutex_);
    const auto found = endpoints_.find(who.loop_id_);
    if (found != endpoints_.end()) {
        epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, who.fd(), nullptr);
        removed = std::move(found->second);
        endpoints_.erase(found);
    }
}

// Its events, or a tick where there are none. Whoever is removed meanwhile may end here, which can
// run anything.
void io_loop::tell(uint64_t id, uint32_t events) {
    std::shared_ptr<endpoint> who;
    {
        const Mutex::Autolock lock(mutex_);
        const auto found = endpoints_.find(id);
        if (found == endpoints_.end()) {
            return;
        }
        who = found->second;
    }
    if ((events & EPOLLOUT) != 0) {
        who->on_output();
    }
    if ((events & ~EPOLLOUT) != 0) {
        who->on_input();
    }
    if (events == 0) {
        who->on_tick();
    }
    if (who.use_count() == 1) {
        executor::get().release_later(this, nullptr, std::move(who));
    }
}

void io_loop::run() {
    is_loop_thread = true;
    epoll_event events[64];
    auto next_tick = std::chrono::steady_clock::now();
    for (;;) {
        const int count = epoll_wait(epoll_.get(), events, 64, static_cast<int>(kTick.count()));
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
            const Mutex::Autolock lock(mutex_);
            for (const auto& [id, who] : endpoints_) {
                all.push_back(id);
            }
        }
        for (const uint64_t id : all) {
            tell(id, 0);
        }
        peer::forget_gone();
    }
}

}  // namespace android::corvex_binder
