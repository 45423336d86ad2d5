// Turns the first SIGINT or SIGTERM into a flag for as long as it lives, so that playback can end
// in order. A second signal of either kind does what it does by default: it kills.
//
// One at a time in a process. Interrupted system calls restart, so that the module below never sees
// EINTR.
#pragma once

#include <signal.h>

class interrupt_guard {
  public:
    interrupt_guard();
    ~interrupt_guard();
    interrupt_guard(const interrupt_guard&) = delete;
    interrupt_guard& operator=(const interrupt_guard&) = delete;

    bool requested() const;

  private:
    struct sigaction before_int_ {};
    struct sigaction before_term_ {};
};
