// This process's part in the talk between processes.
#pragma once

#include <binder/IBinder.h>

#pragma GCC visibility push(default)

namespace android {

class ProcessState : public virtual RefBase {
  public:
    // Never null.
    static sp<ProcessState> self();
    static sp<ProcessState> selfOrNull();

    // The service manager's object.
    sp<IBinder> getContextObject(const sp<IBinder>& caller);

    // Says that this process serves calls. Threads come and go with the calls.
    void startThreadPool();
    // How many calls may run at once, beside one; those that wait for a call of their own do not
    // count. More than 63 are taken as 63.
    status_t setThreadPoolMaxThreadCount(size_t maxThreads);
    void giveThreadPoolName();

    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

  private:
    ProcessState();
    ~ProcessState() override;
};

}  // namespace android

#pragma GCC visibility pop
