// The threads that run what may be other people's code and what nobody waits for. Jobs of one queue
// run one after the other, in order; queues run at the same time. A process whose jobs take long
// holds up only its own: few of them run at once.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>

#include <utils/Mutex.h>

#include "peer.h"

namespace android::corvex_binder {

// Remembers the signals that this thread blocks, for start_thread(). Before the first thread.
void remember_signals();

// Starts a thread, for which nobody waits. Those that run other people's code block the signals
// that were remembered, the others all. 0, or an error of errno.
int start_thread(const char* name, bool blocks_signals, std::function<void()> body);

using job = std::function<void()>;

class executor {
  public:
    static constexpr size_t kMaxThreads = 64;
    static constexpr size_t kMaxJobsOfOnePeer = 4;

    static executor& get();

    // Sees to the first thread, which stays. 0, or why there is none (errno). Before any post().
    int start();

    // Runs the job some time, and destroys it there. `queue` is only a name. Any thread; does not
    // block. `cause` is the process for which it runs; null where this process wants it itself.
    void post(const void* queue, std::shared_ptr<peer> cause, job&& work);

    // Destroys something some time: its destructor may run anything, or block.
    template <typename Object>
    void release_later(const void* queue, const std::shared_ptr<peer>& cause, Object&& object) {
        post(queue, cause, [held = std::forward<Object>(object)] {});
    }

    // Makes this thread one of the executor's for good.
    [[noreturn]] void join();

  private:
    struct entry {
        job work;
        std::shared_ptr<peer> cause;
    };

    executor() = default;
    void work(bool stays);
    int spawn() REQUIRES(mutex_);
    void spawn_if_needed() REQUIRES(mutex_);
    const void* pick() REQUIRES(mutex_);
    void run_first_of(const void* queue) REQUIRES(mutex_);

    Mutex mutex_;
    std::condition_variable_any changed_;
    // A queue is here as long as it has a job, running or not.
    std::unordered_map<const void*, std::deque<entry>> queues_ GUARDED_BY(mutex_);
    // Queues of which no job runs, but may.
    std::deque<const void*> ready_ GUARDED_BY(mutex_);
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t idle_ GUARDED_BY(mutex_) = 0;
    int spawn_error_ GUARDED_BY(mutex_) = 0;  // the first, until it is logged
    bool has_failed_ GUARDED_BY(mutex_) = false;
};

}  // namespace android::corvex_binder
