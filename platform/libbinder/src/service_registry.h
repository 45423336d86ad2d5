// The services that this process offers, and the sockets at which other processes find them.
#pragma once

#include <vector>

#include <binder/IBinder.h>
#include <utils/String16.h>

namespace corvex_binder {

// Offers a service in place of one of its name; nothing changes unless it succeeds.
android::status_t register_service(const android::String16& name,
                                   const android::sp<android::IBinder>& service);

// A service of this process, as long as others would find it too: not where another process has
// taken over its name, or somebody has removed its socket.
android::sp<android::IBinder> find_own_service(const android::String16& name);

std::vector<android::String16> list_own_services();

// What other processes ask for our services: transaction CHECK_SERVICE_TRANSACTION with a name.
android::sp<android::IBinder> registry_object();

}  // namespace corvex_binder
