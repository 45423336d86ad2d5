// The socket of a connection over which all goes that nobody waits for. Messages leave in the order
// in which they were given; those for which there is no room wait.
//
// Any thread. The descriptor stays the same, and open, as long as this object lives.
#pragma once

#include <cstdint>
#include <deque>
#include <sys/uio.h>
#include <vector>

#include "guarded.h"
#include "unique_fd.h"

namespace corvex_binder {

class control_socket {
  public:
    // What waits at most; who does not take that does not read any more.
    static constexpr size_t kMaxWaitingBytes = size_t{8} << 20;

    explicit control_socket(unique_fd&& socket) : socket_(std::move(socket)) {}

    int fd() const { return socket_.get(); }
    enum class result { sent, waits, ended };
    // Borrows the descriptors. `ended` also where the socket cannot take it: then it is shut down.
    result send(const iovec* parts, size_t part_count, const int* descriptors = nullptr,
                size_t descriptor_count = 0);
    template <typename Message>
    result send(const Message& message, const int* descriptors = nullptr,
                size_t descriptor_count = 0) {
        const iovec part = {const_cast<Message*>(&message), sizeof message};
        return send(&part, 1, descriptors, descriptor_count);
    }
    // Sends what waits; true when nothing does any more.
    bool flush();
    bool has_waiting();

    // Nothing is sent or received any more; who waits for the socket is woken.
    void shut_down();
    bool is_open();
    // Whether the other end has gone, waited for at most so long.
    bool other_end_goes(int timeout_ms) const;

  private:
    struct waiting_message {
        std::vector<uint8_t> bytes;
        std::vector<unique_fd> descriptors;
    };

    void end() BINDER_REQUIRES(mutex_);

    const unique_fd socket_;
    guard_mutex mutex_;
    bool is_open_ BINDER_GUARDED_BY(mutex_) = true;
    std::deque<waiting_message> waiting_ BINDER_GUARDED_BY(mutex_);
    size_t waiting_bytes_ BINDER_GUARDED_BY(mutex_) = 0;
};

}  // namespace corvex_binder
