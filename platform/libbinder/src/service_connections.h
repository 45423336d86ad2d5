// The connections of this process to services of others: one for each name.
#pragma once

#include <string>

#include <binder/IBinder.h>

namespace corvex_binder {

// The service that a process offers at this name in the folder. NAME_NOT_FOUND where there is none,
// at once; TIMED_OUT, with a line in the log, where one is there and does not say hello in the time
// that a call may take.
android::status_t connect_service(int directory, const std::string& name,
                                  android::sp<android::IBinder>* service);

}  // namespace corvex_binder
