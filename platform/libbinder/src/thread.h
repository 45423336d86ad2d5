// Threads of this library. They outlive main(), so nobody waits for one to end.
#pragma once

namespace corvex_binder {

// Remembers the signals that this thread blocks, for start_thread(). Once, before the first thread.
void remember_signals();

// Starts a thread. Those that run other people's code block the signals that were remembered, the
// others all. 0, or an error of errno.
int start_thread(void* (*run)(void*), void* argument, bool blocks_signals);

}  // namespace corvex_binder
