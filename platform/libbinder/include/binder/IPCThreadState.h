// This thread's part in the talk between processes.
#pragma once

#include <sys/types.h>

#pragma GCC visibility push(default)

namespace corvex_binder {
class calling_identity;
}

namespace android {

class IPCThreadState {
  public:
    // Never null; valid on its own thread, while that lives.
    static IPCThreadState* self();

    // Who made the call that this thread is serving; this process itself when it serves none.
    pid_t getCallingPid() const { return mCallingPid; }
    uid_t getCallingUid() const { return mCallingUid; }

    // Gives this thread to the library, for one-way calls and notices; does not return.
    void joinThreadPool();

    IPCThreadState(const IPCThreadState&) = delete;
    IPCThreadState& operator=(const IPCThreadState&) = delete;

  private:
    friend class corvex_binder::calling_identity;
    IPCThreadState();

    pid_t mCallingPid;
    uid_t mCallingUid;
};

}  // namespace android

#pragma GCC visibility pop
