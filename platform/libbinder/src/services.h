// Services by the file names of their sockets: those that this process offers, and those of others.
#pragma once

#include <string>

#include <binder/IBinder.h>

namespace android::corvex_binder {

// Offers a service, in place of one of this name, until this process ends. Otherwise the reason.
status_t offer_service(const std::string& file, const sp<IBinder>& service);

// A service of this process, unless another process has taken over its name; else null.
sp<IBinder> find_offered_service(const std::string& file);

// The service that another process offers in the folder. NAME_NOT_FOUND where there is none, at
// once; TIMED_OUT, with a line in the log, where one is there and does not say hello in the time
// that a call may take.
status_t connect_service(int directory, const std::string& file, sp<IBinder>* service);

}  // namespace android::corvex_binder
