// The one thread that waits for sockets. It never runs other people's code and never blocks
// anywhere else, so that every connection is served whatever the calls do.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace corvex_binder {

// Something with a descriptor. Its functions are called on the loop's thread only.
class endpoint {
  public:
    virtual ~endpoint() = default;
    virtual int fd() const = 0;
    // `events` as of epoll.
    virtual void on_events(uint32_t events) = 0;
    // About twice a second while any endpoint wants ticks.
    virtual void on_tick() {}

    // Set by add().
    uint64_t loop_id() const { return loop_id_; }

  private:
    friend class io_loop;
    uint64_t loop_id_ = 0;
    bool wants_ticks_ = false;  // under the loop's lock
};

class io_loop {
  public:
    // Starts the thread when it is first asked for. Null, with a line in the log, when it cannot.
    static io_loop* get();
    // In a process that was forked off after that, which has no such thread: nothing may touch
    // its parent's sockets there.
    static bool is_cut_off();

    // Any thread. Keeps the endpoint until it is removed. False when there is no room for it.
    bool add(const std::shared_ptr<endpoint>& who, uint32_t events);
    void set_events(const endpoint& who, uint32_t events);
    // No call begins afterwards; on other threads than the loop's, one may still be running.
    void remove(const endpoint& who);

    // Whether this endpoint wants on_tick(), as long as it is not removed.
    void want_ticks(endpoint& who, bool wants);

  private:
    io_loop() = default;
    bool start();
    static void* run_thread(void* loop);
    void run();
    void tick();
    std::shared_ptr<endpoint> find(uint64_t id);

    int epoll_ = -1;
    std::atomic<int> ticks_wanted_{0};  // changes under the lock
    std::mutex mutex_;
    std::map<uint64_t, std::shared_ptr<endpoint>> endpoints_;
    uint64_t last_id_ = 0;
};

}  // namespace corvex_binder
