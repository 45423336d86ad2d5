#include "dispatch.h"

#include <atomic>
#include <deque>
#include <map>
#include <mutex>

#include <binder/IPCThreadState.h>

#include "calling_identity.h"
#include "connection.h"
#include "log.h"
#include "thread_pool.h"

namespace corvex_binder {

namespace {

// The one-way calls of the objects that are serving one.
struct oneway_queues {
    std::mutex mutex;
    std::map<android::IBinder*, std::deque<std::unique_ptr<incoming_call>>> waiting;
};

oneway_queues& queues() {
    static auto* all = new oneway_queues;
    return *all;
}

void serve(const incoming_call& call) {
    android::Parcel reply;
    android::status_t status = android::NO_ERROR;
    {
        const calling_identity caller(call.from->peer(), call.flags);
        status = call.target->transact(call.code, *call.data, &reply, call.flags);
    }
    if (call.call == 0) {
        call.from->send_oneway_done(call.cost);
    } else {
        call.from->send_reply(call.call, call.cost, status, reply);
    }
}

// Serves one call, then lets others have the thread.
void serve_oneway(std::unique_ptr<incoming_call>&& call);

void post_oneway(std::unique_ptr<incoming_call>&& call) {
    thread_pool::get().post([held = std::make_shared<std::unique_ptr<incoming_call>>(
                                 std::move(call))] { serve_oneway(std::move(*held)); });
}

void serve_oneway(std::unique_ptr<incoming_call>&& call) {
    const std::unique_ptr<incoming_call> served = std::move(call);
    serve(*served);
    std::unique_ptr<incoming_call> next;
    {
        const std::lock_guard<std::mutex> lock(queues().mutex);
        const auto found = queues().waiting.find(served->target.get());
        if (found->second.empty()) {
            queues().waiting.erase(found);
            return;
        }
        next = std::move(found->second.front());
        found->second.pop_front();
    }
    post_oneway(std::move(next));
}

void warn_without_pool() {
    static std::atomic<bool> complained{false};
    if (!complained.exchange(true)) {
        BINDER_LOG(WARN,
                   "a call has come to a process that has not asked for any, and is served: "
                   "call ProcessState::self()->startThreadPool()");
    }
}

}  // namespace

void dispatch(std::unique_ptr<incoming_call>&& call) {
    if (!call->is_lookup && !thread_pool::get().started()) {
        warn_without_pool();
    }
    if (call->call != 0) {
        thread_pool::get().post(
            [held = std::shared_ptr<incoming_call>(std::move(call))] { serve(*held); });
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(queues().mutex);
        const auto [found, is_first] = queues().waiting.try_emplace(call->target.get());
        if (!is_first) {
            found->second.push_back(std::move(call));
            return;
        }
    }
    post_oneway(std::move(call));
}

namespace {

// Letting go is work for a few threads at most: it comes in bursts, and each is short.
constexpr int kMostLettingGo = 2;

struct letting_go {
    std::mutex mutex;
    std::deque<std::function<void()>> waiting;
    int threads = 0;
};

letting_go& chores() {
    static auto* all = new letting_go;
    return *all;
}

void do_chores() {
    for (;;) {
        std::function<void()> chore;  // ends, and lets go, after the lock
        const std::lock_guard<std::mutex> lock(chores().mutex);
        if (chores().waiting.empty()) {
            --chores().threads;
            return;
        }
        chore.swap(chores().waiting.front());
        chores().waiting.pop_front();
    }
}

void post_chore(std::function<void()>&& chore) {
    const std::lock_guard<std::mutex> lock(chores().mutex);
    chores().waiting.push_back(std::move(chore));
    if (chores().threads < kMostLettingGo) {
        ++chores().threads;
        thread_pool::get().post(do_chores);
    }
}

}  // namespace

void let_go(android::sp<android::IBinder>&& object) {
    if (object != nullptr) {
        post_chore([held = std::move(object)] {});
    }
}

void let_go(std::vector<parcel_object>&& objects) {
    if (!objects.empty()) {
        post_chore([held = std::make_shared<std::vector<parcel_object>>(std::move(objects))] {});
    }
}

void let_go(std::unique_ptr<android::Parcel>&& parcel) {
    if (parcel != nullptr) {
        post_chore([held = std::shared_ptr<android::Parcel>(std::move(parcel))] {});
    }
}

}  // namespace corvex_binder
