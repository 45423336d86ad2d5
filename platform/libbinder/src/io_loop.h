// The one thread that waits for control sockets and listeners, and blocks nowhere else, so that
// every connection is served whatever the calls do.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include <android-base/unique_fd.h>
#include <utils/Mutex.h>

namespace android::corvex_binder {

// Something with a descriptor. Its functions are called on the loop's thread only.
class endpoint {
  public:
    virtual ~endpoint() = default;
    virtual int fd() const = 0;
    // There is something to read, or to be accepted, or the other end has gone.
    virtual void on_input() = 0;
    // There is room, where set_events() has asked for that.
    virtual void on_output() {}
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

    // Any thread. Keeps the endpoint until it is removed, and waits for its input. False when there
    // is no room for it.
    bool add(const std::shared_ptr<endpoint>& who);
    void set_events(const endpoint& who, bool input, bool output = false);
    // No call begins afterwards; on other threads than the loop's, one may still be running.
    void remove(const endpoint& who);

  private:
    io_loop() = default;
    void run();
    void tell(uint64_t id, uint32_t events);

    base::unique_fd epoll_;
    Mutex mutex_;
    std::map<uint64_t, std::shared_ptr<endpoint>> endpoints_ GUARDED_BY(mutex_);
    uint64_t last_id_ GUARDED_BY(mutex_) = 0;
};

}  // namespace android::corvex_binder
