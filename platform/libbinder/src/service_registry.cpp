#include "service_registry.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <utils/String8.h>

#include "listener.h"
#include "log.h"
#include "socket_directory.h"

namespace corvex_binder {

namespace {

struct offered_service {
    android::sp<android::IBinder> object;
    std::shared_ptr<listener> socket;
};

struct registry {
    std::mutex mutex;
    std::map<android::String16, offered_service> services;
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
    const std::lock_guard<std::mutex> lock(own().mutex);
    for (const auto& [name, service] : own().services) {
        service.socket->remove_file();
    }
}

void remove_sockets_at_exit() {
    static const bool done = [] {
        registered_by = getpid();
        return atexit(remove_sockets) == 0;
    }();
    static_cast<void>(done);
}

class registry_binder : public android::BBinder {
  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override {
        if (code != android::IServiceManager::CHECK_SERVICE_TRANSACTION) {
            return android::BBinder::onTransact(code, data, reply, flags);
        }
        android::String16 name;
        const android::status_t status = data.readString16(&name);
        return status == android::NO_ERROR ? reply->writeStrongBinder(find_own_service(name))
                                           : android::BAD_VALUE;
    }
};

}  // namespace

android::status_t register_service(const android::String16& name,
                                   const android::sp<android::IBinder>& service) {
    const std::string file = socket_name(name);
    if (file.empty() || service == nullptr) {
        BINDER_LOG(ERROR, "a service is not registered: %s",
                   service == nullptr ? "it is null" : "its name is empty or too long");
        return android::BAD_VALUE;
    }
    // Goes after the locks: the end of a service may run anything.
    offered_service replaced;
    // Socket and table change together, so that of two registrations the same one is found in both.
    static auto* one_at_a_time = new std::mutex;
    const std::lock_guard<std::mutex> turn(*one_at_a_time);
    android::status_t status = android::NO_ERROR;
    const std::shared_ptr<listener> socket = listener::make(file, &status);
    if (socket == nullptr) {
        BINDER_LOG(ERROR, "the service '%s' is not registered: %s", android::String8(name).string(),
                   strerror(-status));
        return status;
    }
    remove_sockets_at_exit();
    replaced = {service, socket};
    {
        const std::lock_guard<std::mutex> lock(own().mutex);
        std::swap(own().services[name], replaced);
    }
    if (replaced.socket != nullptr) {
        replaced.socket->stop();
    }
    // Those who have connected meanwhile are waiting.
    if (!socket->start()) {
        {
            const std::lock_guard<std::mutex> lock(own().mutex);
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
    const std::lock_guard<std::mutex> lock(own().mutex);
    const auto found = own().services.find(name);
    if (found == own().services.end() || !found->second.socket->has_name()) {
        return nullptr;
    }
    return found->second.object;
}

std::vector<android::String16> list_own_services() {
    std::vector<android::String16> names;
    const std::lock_guard<std::mutex> lock(own().mutex);
    for (const auto& [name, service] : own().services) {
        if (service.socket->has_name()) {
            names.push_back(name);
        }
    }
    return names;
}

android::sp<android::IBinder> registry_object() {
    static const auto* object = new android::sp<android::IBinder>(new registry_binder);
    return *object;
}

}  // namespace corvex_binder
