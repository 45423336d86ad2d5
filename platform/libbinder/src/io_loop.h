// The one thread that waits for control sockets and listeners. It never runs other people's code
// and never blocks anywhere else, so that every connection is served whatever the calls do.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "guarded.h"

namespace corvex_binder {

// Something with a descriptor. Its functions are called on the loop's thread only.
class endpoint {
  public:
    virtual ~endpoint() = default;
    virtual int fd() const = 0;
    // `events` as of epoll.
    virtual void on_events(uint32_t events) = 0;
    // About once a second.
    virtual void on_tick() {}

  private:
    friend class io_loop;
    uint64_t loop_id_ = 0;  // set by add()
};

class io_loop {
  public:
    // Starts the library's first threads when it is first asked for. Null, with a line in the log,
    // when it cannot.
    static io_loop* get();
    // In a process that was forked off after that, which has no such thread: nothing may touch
    // its parent's sockets there.
    static bool is_cut_off();
    // Whether this thread is the loop's.
    static bool is_its_thread();

    // Any thread. Keeps the endpoint until it is removed. False when there is no room for it.
    bool add(const std::shared_ptr<endpoint>& who, uint32_t events);
    void set_events(const endpoint& who, uint32_t events);
    // No call begins afterwards; on other threads than the loop's, one may still be running.
    void remove(const endpoint& who);

  private:
    io_loop() = default;
    int start();
    static void* run_thread(void* loop);
    void run();
    void tell(uint64_t id, uint32_t events);

    int epoll_ = -1;
    guard_mutex mutex_;
    std::map<uint64_t, std::shared_ptr<endpoint>> endpoints_ BINDER_GUARDED_BY(mutex_);
    uint64_t last_id_ BINDER_GUARDED_BY(mutex_) = 0;
};

}  // namespace corvex_binder
