// This process's part in the talk between processes.
#pragma once

#include <binder/IBinder.h>

namespace android {

class BINDER_EXPORT ProcessState : public virtual RefBase {
  public:
    // Never null.
    static sp<ProcessState> self();

    // Says that this process serves calls. Threads come and go with the calls.
    void startThreadPool();

    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

  private:
    ProcessState() = default;
};

}  // namespace android
