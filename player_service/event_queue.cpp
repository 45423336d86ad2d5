#include "player_service/event_queue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include "player_service/log.h"

namespace player_service {

using android::IZuAvplayerObserver;
using android::sp;

namespace {

struct waiting_event {
    sp<IZuAvplayerObserver> observer;
    event_source source;
    int message;
    uint32_t word;
};

}  // namespace

struct event_queue::state {
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    std::deque<waiting_event> waiting;
    bool ended = false;
    uint64_t dropped = 0;
    std::thread thread;  // from the first event on
};

event_queue::event_queue() : state_(std::make_shared<state>()) {}

event_queue::~event_queue() {
    std::deque<waiting_event> undelivered;  // observers go without the lock
    std::thread thread;
    {
        const std::lock_guard<std::mutex> guard(state_->mutex);
        state_->ended = true;
        undelivered.swap(state_->waiting);
        thread = std::move(state_->thread);
        state_->changed.notify_all();
    }
    if (!thread.joinable()) {
        return;
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // It holds the state, and ends when the observer returns.
    } else {
        thread.join();
    }
}

void event_queue::post(const sp<IZuAvplayerObserver>& observer, event_source source, int message,
                       uint32_t word) {
    waiting_event oldest;  // goes without the lock
    const std::lock_guard<std::mutex> guard(state_->mutex);
    if (state_->ended) {
        return;
    }
    if (state_->waiting.size() >= kMostWaiting) {
        oldest = std::move(state_->waiting.front());
        state_->waiting.pop_front();
        if (state_->dropped++ == 0) {
            LOGW("a client does not take its events; the oldest are dropped");
        }
    }
    state_->waiting.push_back({observer, source, message, word});
    if (!state_->thread.joinable()) {
        try {
            state_->thread = std::thread([state = state_] { deliver(state); });
        } catch (const std::system_error& error) {
            LOGE("there is no thread to deliver a client's events: %s", error.what());
        }
    }
    state_->changed.notify_all();
}

void event_queue::deliver(const std::shared_ptr<state>& state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->changed.wait(lock, [&] { return state->ended || !state->waiting.empty(); });
        if (state->ended) {
            return;
        }
        waiting_event event = std::move(state->waiting.front());
        state->waiting.pop_front();
        lock.unlock();
        android::send_event(event.observer, event.message, &event.word, sizeof event.word,
                            static_cast<int>(event.source));
        event.observer.clear();
        lock.lock();
    }
}

}  // namespace player_service
