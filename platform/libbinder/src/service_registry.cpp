#include "service_registry.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <unistd.h>

#include <utils/String8.h>

#include "guarded.h"
#include "listener.h"
#include "log.h"
#include "socket_directory.h"

namespace corvex_binder {

namespace {

struct registry {
    guard_mutex mutex;
    std::map<android::String16, std::shared_ptr<listener>> services BINDER_GUARDED_BY(mutex);
};

registry& own() {
    static auto* services = new registry;
    return *services;
}

pid_t registered_by = -1;

// At exit: what nobody has replaced would only be in the way of the next one.
void remove_sockets() {
    if (getpid() != registered_by) {
        return;
    }
    const guard_lock lock(own().mutex);
    for (const auto& [name, service] : own().services) {
        service->remove_file();
    }
}

void remove_sockets_at_exit() {
    static const bool done = [] {
        registered_by = getpid();
        return atexit(remove_sockets) == 0;
    }();
    static_cast<void>(done);
}

}  // namespace

android::status_t register_service(const android::String16& name,
                                   const android::sp<android::IBinder>& service) {
    const std::string file = socket_name(name);
    if (file.empty() || service == nullptr) {
        BINDER_LOG(ERROR, "a service is not registered: %s",
                   service == nullptr ? "it is null" : "its name is empty or too long");
        return android::BAD_VALUE;
    }
    // Both go after the locks: the end of a service may run anything.
    std::shared_ptr<listener> replaced;
    android::sp<android::IBinder> replaced_service;
    // Socket and table change together, so that of two registrations the same one is found in both.
    static auto* one_at_a_time = new guard_mutex;
    const guard_lock turn(*one_at_a_time);
    android::status_t status = android::NO_ERROR;
    const std::shared_ptr<listener> socket = listener::make(file, service, &status);
    if (socket == nullptr) {
        BINDER_LOG(ERROR, "the service '%s' is not registered: %s", android::String8(name).string(),
                   strerror(-status));
        return status;
    }
    remove_sockets_at_exit();
    replaced = socket;
    {
        const guard_lock lock(own().mutex);
        std::swap(own().services[name], replaced);
    }
    if (replaced != nullptr) {
        replaced_service = replaced->stop();
    }
    // Those who have connected meanwhile are waiting.
    if (!socket->start()) {
        {
            const guard_lock lock(own().mutex);
            own().services.erase(name);
        }
        socket->remove_file();
        BINDER_LOG(ERROR, "the service '%s' is not registered: its socket cannot be watched",
                   android::String8(name).string());
        return android::NO_MEMORY;
    }
    return android::NO_ERROR;
}

android::sp<android::IBinder> find_own_service(const android::String16& name) {
    const guard_lock lock(own().mutex);
    const auto found = own().services.find(name);
    if (found == own().services.end() || found->second->is_replaced()) {
        return nullptr;
    }
    return found->second->service();
}

}  // namespace corvex_binder
