#include "thread.h"

#include <pthread.h>
#include <signal.h>

namespace corvex_binder {

namespace {

constexpr size_t kStackBytes = size_t{1} << 20;

sigset_t remembered = {};

}  // namespace

void remember_signals() {
    pthread_sigmask(SIG_SETMASK, nullptr, &remembered);
}

int start_thread(void* (*run)(void*), void* argument, bool blocks_signals) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) {
        return error;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    // A new thread has its maker's signals from its first moment on.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, blocks_signals ? &all : &remembered, &before);
    pthread_t thread = {};
    error = pthread_create(&thread, &attributes, run, argument);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return error;
}

}  // namespace corvex_binder
