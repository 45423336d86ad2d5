// The services that this process offers, and the sockets at which other processes find them.
#pragma once

#include <binder/IBinder.h>
#include <utils/String16.h>

namespace corvex_binder {

// Offers a service in place of one of its name; nothing changes unless it succeeds.
android::status_t register_service(const android::String16& name,
                                   const android::sp<android::IBinder>& service);

// A service of this process, unless another process has taken over its name.
android::sp<android::IBinder> find_own_service(const android::String16& name);

}  // namespace corvex_binder
