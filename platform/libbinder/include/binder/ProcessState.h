// This process's part in the talk between processes.
#pragma once

#include <binder/IBinder.h>

#pragma GCC visibility push(default)

namespace android {

class ProcessState : public virtual RefBase {
  public:
    // Never null.
    static sp<ProcessState> self();

    // Says that this process serves calls. Threads come and go with the calls.
    void startThreadPool();

    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

  private:
    ProcessState();
    ~ProcessState() override;
};

}  // namespace android

#pragma GCC visibility pop
