// Owns one descriptor.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace corvex_binder {

class unique_fd {
  public:
    unique_fd() = default;
    explicit unique_fd(int fd) : fd_(fd) {}
    unique_fd(unique_fd&& other) noexcept : fd_(other.release()) {}
    unique_fd& operator=(unique_fd&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~unique_fd() { reset(); }

    // Not valid, with errno set, where there is none to be had.
    static unique_fd duplicate(int fd) { return unique_fd(fcntl(fd, F_DUPFD_CLOEXEC, 0)); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        if (old >= 0) {
            close(old);
        }
    }

  private:
    int fd_ = -1;
};

}  // namespace corvex_binder
