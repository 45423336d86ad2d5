#include "tools/terminal/interrupt.h"

namespace {

volatile sig_atomic_t signal_seen = 0;

extern "C" void note_signal(int number) {
    if (signal_seen != 0) {
        // Takes effect when the handler returns, which unblocks the signal.
        signal(number, SIG_DFL);
        raise(number);
    }
    signal_seen = 1;
}

}  // namespace

interrupt_guard::interrupt_guard() {
    signal_seen = 0;
    struct sigaction action {};
    action.sa_handler = note_signal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    // Each blocks the other while it runs, so that one of them comes first.
    sigaddset(&action.sa_mask, SIGINT);
    sigaddset(&action.sa_mask, SIGTERM);
    sigaction(SIGINT, &action, &before_int_);
    sigaction(SIGTERM, &action, &before_term_);
}

interrupt_guard::~interrupt_guard() {
    sigaction(SIGTERM, &before_term_, nullptr);
    sigaction(SIGINT, &before_int_, nullptr);
}

bool interrupt_guard::requested() const {
    return signal_seen != 0;
}
