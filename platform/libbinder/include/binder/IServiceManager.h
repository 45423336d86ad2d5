// Services by name, among the processes of one user: README.md of this library says where.
#pragma once

#include <binder/IInterface.h>

namespace android {

class BINDER_EXPORT IServiceManager : public virtual RefBase {
  public:
    // The service, or null when it has not come within CORVEX_BINDER_WAIT_MS. One that is there and
    // slow to answer is waited for as a call is; where it does not answer, a log line says so.
    virtual sp<IBinder> getService(const String16& name) const = 0;
    // The same without waiting for one that is not there.
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Offers a service, in place of one of this name, for as long as this process lives. BAD_VALUE
    // for a bad name or a null service; otherwise, when other processes could not find it, the
    // reason, and nothing is registered.
    virtual status_t addService(const String16& name, const sp<IBinder>& service) = 0;
};

// Never null.
BINDER_EXPORT sp<IServiceManager> defaultServiceManager();

}  // namespace android
