#include "control_socket.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "message.h"

namespace corvex_binder {

namespace {

// The socket has no room now, and will have.
bool is_full(int error) {
    return error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

control_socket::result control_socket::send(const iovec* parts, size_t part_count,
                                            const int* descriptors, size_t descriptor_count) {
    const guard_lock lock(mutex_);
    if (!is_open_) {
        return result::ended;
    }
    if (waiting_.empty()) {
        const int error = send_message(socket_.get(), parts, part_count, descriptors,
                                       descriptor_count, MSG_DONTWAIT);
        if (error == 0) {
            return result::sent;
        }
        if (!is_full(error)) {
            end();
            return result::ended;
        }
    }
    waiting_message message;
    for (size_t i = 0; i < part_count; ++i) {
        const auto* from = static_cast<const uint8_t*>(parts[i].iov_base);
        message.bytes.insert(message.bytes.end(), from, from + parts[i].iov_len);
    }
    bool has_all = true;
    for (size_t i = 0; i < descriptor_count; ++i) {
        message.descriptors.push_back(unique_fd::duplicate(descriptors[i]));
        has_all = has_all && message.descriptors.back().valid();
    }
    waiting_bytes_ += message.bytes.size();
    if (!has_all || waiting_bytes_ > kMaxWaitingBytes) {
        end();
        return result::ended;
    }
    waiting_.push_back(std::move(message));
    return result::waits;
}

bool control_socket::flush() {
    const guard_lock lock(mutex_);
    while (!waiting_.empty()) {
        const waiting_message& first = waiting_.front();
        const iovec part = {const_cast<uint8_t*>(first.bytes.data()), first.bytes.size()};
        int descriptors[kMaxDescriptors];
        for (size_t i = 0; i < first.descriptors.size(); ++i) {
            descriptors[i] = first.descriptors[i].get();
        }
        const int error = send_message(socket_.get(), &part, 1, descriptors,
                                       first.descriptors.size(), MSG_DONTWAIT);
        if (is_full(error)) {
            return false;
        }
        if (error != 0) {
            end();
            return true;
        }
        waiting_bytes_ -= first.bytes.size();
        waiting_.pop_front();
    }
    return true;
}

bool control_socket::has_waiting() {
    const guard_lock lock(mutex_);
    return !waiting_.empty();
}

void control_socket::end() {
    is_open_ = false;
    waiting_.clear();
    waiting_bytes_ = 0;
    shutdown(socket_.get(), SHUT_RDWR);
}

void control_socket::shut_down() {
    const guard_lock lock(mutex_);
    if (is_open_) {
        end();
    }
}

bool control_socket::is_open() {
    const guard_lock lock(mutex_);
    return is_open_;
}

bool control_socket::other_end_goes(int timeout_ms) const {
    pollfd end = {socket_.get(), POLLRDHUP, 0};
    return poll(&end, 1, timeout_ms) > 0;
}

}  // namespace corvex_binder
