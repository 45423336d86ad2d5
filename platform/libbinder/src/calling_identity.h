// Who this thread serves, while it serves a call.
#pragma once

#include <binder/IPCThreadState.h>

#include "socket_directory.h"

namespace corvex_binder {

class calling_identity {
  public:
    calling_identity(const peer_identity& caller, uint32_t flags)
        : thread_(*android::IPCThreadState::self()),
          pid_(thread_.mCallingPid),
          uid_(thread_.mCallingUid),
          policy_(thread_.mStrictModePolicy),
          flags_(thread_.mLastTransactionBinderFlags) {
        thread_.mCallingPid = caller.pid;
        thread_.mCallingUid = caller.uid;
        thread_.mLastTransactionBinderFlags = static_cast<int32_t>(flags);
    }
    ~calling_identity() {
        thread_.mCallingPid = pid_;
        thread_.mCallingUid = uid_;
        thread_.mStrictModePolicy = policy_;
        thread_.mLastTransactionBinderFlags = flags_;
    }
    calling_identity(const calling_identity&) = delete;
    calling_identity& operator=(const calling_identity&) = delete;

  private:
    android::IPCThreadState& thread_;
    const pid_t pid_;
    const uid_t uid_;
    const int32_t policy_;
    const int32_t flags_;
};

}  // namespace corvex_binder
