// The socket of a connection over which all goes that nobody waits for. Messages leave in the order
// in which they were given; those for which there is no room wait. Any thread. The descriptor stays
// the same, and open, as long as this object lives.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include <utils/Mutex.h>

#include "message.h"

namespace android::corvex_binder {

class endpoint;

class control_socket {
  public:
    // What waits at most; who does not take that does not read any more.
    static constexpr size_t kMaxWaitingBytes = size_t{8} << 20;

    // While messages wait, the loop tells `owner` of room.
    control_socket(unique_fd&& socket, const endpoint& owner)
        : socket_(std::move(socket)), owner_(owner) {}

    int fd() const { return socket_.get(); }
    // False where the connection has ended, or the socket cannot take it: then it is shut down.
    bool send(const outgoing_message& message);
    template <typename Fixed>
    bool send(const Fixed& fixed) {
        return send(outgoing_message(fixed));
    }
    // Sends what waits; true when nothing does any more.
    bool flush();
    bool has_waiting();

    // Nothing is sent or received any more; who waits for the socket is woken.
    void shut_down();
    // Whether it has ended, or does so within this time.
    bool ends_within(int timeout_ms);

  private:
    struct waiting_message {
        std::vector<uint8_t> bytes;
        std::vector<unique_fd> descriptors;
    };

    bool keep(const outgoing_message& message) REQUIRES(mutex_);
    void end() REQUIRES(mutex_);

    const unique_fd socket_;
    const endpoint& owner_;
    Mutex mutex_;
    bool is_open_ GUARDED_BY(mutex_) = true;
    std::deque<waiting_message> waiting_ GUARDED_BY(mutex_);
    size_t waiting_bytes_ GUARDED_BY(mutex_) = 0;
};

}  // namespace android::corvex_binder
