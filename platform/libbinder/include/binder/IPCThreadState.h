// This thread's part in the talk between processes.
#pragma once

#include <sys/types.h>

#include <binder/IBinder.h>

namespace android {

class BINDER_EXPORT IPCThreadState {
  public:
    // Never null.
    static IPCThreadState* self();

    // Who made the call that this thread is serving; this process itself when it serves none.
    pid_t getCallingPid() const;
    uid_t getCallingUid() const;

    // Gives this thread to the library, for one-way calls and notices; does not return.
    void joinThreadPool();

    IPCThreadState(const IPCThreadState&) = delete;
    IPCThreadState& operator=(const IPCThreadState&) = delete;

  private:
    IPCThreadState() = default;
};

}  // namespace android
