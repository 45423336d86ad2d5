// Who this thread serves, while it serves a call.
#pragma once

#include <binder/IPCThreadState.h>

#include "log.h"
#include "peer.h"

namespace corvex_binder {

// Says once that this process has not asked for calls, where it has not.
void warn_without_pool();

class calling_identity {
  public:
    explicit calling_identity(peer& caller)
        : thread_(*android::IPCThreadState::self()),
          pid_(thread_.mCallingPid),
          uid_(thread_.mCallingUid),
          served_(exchange_served(&caller.lines)) {
        thread_.mCallingPid = caller.identity.pid;
        thread_.mCallingUid = caller.identity.uid;
    }
    ~calling_identity() {
        thread_.mCallingPid = pid_;
        thread_.mCallingUid = uid_;
        exchange_served(served_);
    }
    calling_identity(const calling_identity&) = delete;
    calling_identity& operator=(const calling_identity&) = delete;

  private:
    android::IPCThreadState& thread_;
    const pid_t pid_;
    const uid_t uid_;
    complaints* const served_;
};

}  // namespace corvex_binder
