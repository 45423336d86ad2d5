#include "tools/interrupt.h"

namespace {

volatile sig_atomic_t signal_seen = 0;

extern "C" void note_signal(int) {
    signal_seen = 1;
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}

}  // namespace

interrupt_guard::interrupt_guard() {
    signal_seen = 0;
    struct sigaction action {};
    action.sa_handler = note_signal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    // Both at once: neither handler may be cut short by the other.
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
