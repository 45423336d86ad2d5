#include "control_socket.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include "io_loop.h"

namespace android::corvex_binder {

namespace {

// The socket has no room now, and will have.
bool is_full(int error) {
    return error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

bool control_socket::send(const outgoing_message& message) {
    const Mutex::Autolock lock(mutex_);
    if (!is_open_) {
        return false;
    }
    const int error =
        waiting_.empty() ? send_message(socket_.get(), message, MSG_DONTWAIT) : EAGAIN;
    if (error != 0 && !(is_full(error) && keep(message))) {
        end();
    }
    return is_open_;
}

// False where there is no room.
bool control_socket::keep(const outgoing_message& message) {
    waiting_message copy;
    for (const iovec& part : message.parts) {
        const auto* from = static_cast<const uint8_t*>(part.iov_base);
        copy.bytes.insert(copy.bytes.end(), from, from + part.iov_len);
    }
    for (size_t i = 0; i < message.descriptor_count; ++i) {
        copy.descriptors.emplace_back(fcntl(message.descriptors[i], F_DUPFD_CLOEXEC, 0));
        if (!copy.descriptors.back().ok()) {
            return false;
        }
    }
    waiting_bytes_ += copy.bytes.size();
    if (waiting_bytes_ > kMaxWaitingBytes) {
        return false;
    }
    waiting_.push_back(std::move(copy));
    io_loop::get()->set_events(owner_, true, true);
    return true;
}

bool control_socket::flush() {
    const Mutex::Autolock lock(mutex_);
    while (!waiting_.empty()) {
        const waiting_message& first = waiting_.front();
        outgoing_message message(first.bytes.data(), first.bytes.size());
        int descriptors[kMaxDescriptors];
        for (const unique_fd& descriptor : first.descriptors) {
            descriptors[message.descriptor_count++] = descriptor.get();
        }
        message.descriptors = descriptors;
        const int error = send_message(socket_.get(), message, MSG_DONTWAIT);
        if (is_full(error)) {
            return false;
        }
        if (error != 0) {
            end();
            break;
        }
        waiting_bytes_ -= first.bytes.size();
        waiting_.pop_front();
    }
    io_loop::get()->set_events(owner_, true);
    return true;
}

bool control_socket::has_waiting() {
    const Mutex::Autolock lock(mutex_);
    return !waiting_.empty();
}

void control_socket::end() {
    is_open_ = false;
    waiting_.clear();
    waiting_bytes_ = 0;
    shutdown(socket_.get(), SHUT_RDWR);
}

void control_socket::shut_down() {
    const Mutex::Autolock lock(mutex_);
    if (is_open_) {
        end();
    }
}

bool control_socket::ends_within(int timeout_ms) {
    pollfd end = {socket_.get(), POLLRDHUP, 0};
    return poll(&end, 1, timeout_ms) > 0;
}

}  // namespace android::corvex_binder
