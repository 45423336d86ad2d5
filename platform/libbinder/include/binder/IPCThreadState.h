// This thread's part in the talk between processes.
#pragma once

#include <sys/types.h>

#include <utils/Errors.h>

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
    pid_t getCallingPid() const;
    uid_t getCallingUid() const;
    // Takes this process's identity for the rest of the call; restore takes what clear answered.
    int64_t clearCallingIdentity();
    void restoreCallingIdentity(int64_t token);

    // Nothing is ever held back, so there is nothing to do.
    void flushCommands();

    // Gives this thread to the library, for one-way calls and notices; does not return.
    void joinThreadPool(bool isMain = true);

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
