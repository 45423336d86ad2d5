// Services by name: of this process, or of whoever listens at their sockets.

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <binder/IServiceManager.h>
#include <utils/String8.h>

#include "connection.h"
#include "guarded.h"
#include "listener.h"
#include "log.h"
#include "socket_directory.h"

namespace android {

namespace {

using corvex_binder::guard_lock;
using corvex_binder::listener;
using corvex_binder::unique_fd;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The services that this process offers.
struct offered_services {
    corvex_binder::guard_mutex mutex;
    std::map<String16, std::shared_ptr<listener>> by_name BINDER_GUARDED_BY(mutex);
};

offered_services& own() {
    static auto* services = new offered_services;
    return *services;
}

pid_t registered_by = -1;

// At exit: what nobody has replaced would only be in the way of the next one.
void remove_sockets() {
    if (getpid() == registered_by) {
        const guard_lock lock(own().mutex);
        for (const auto& [name, socket] : own().by_name) {
            socket->remove_file();
        }
    }
}

// A service of this process, unless another process has taken over its name.
sp<IBinder> find_own(const String16& name) {
    const guard_lock lock(own().mutex);
    const auto found = own().by_name.find(name);
    return found != own().by_name.end() && found->second->has_name() ? found->second->service()
                                                                     : nullptr;
}

status_t look_up(int directory, const String16& name, const std::string& file,
                 sp<IBinder>* service) {
    *service = find_own(name);
    return *service != nullptr ? static_cast<status_t>(NO_ERROR)
                               : corvex_binder::connect_service(directory, file, service);
}

// Tells of the files that come into a folder.
class folder_watch {
  public:
    explicit folder_watch(int directory) : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
        const std::string path = "/proc/self/fd/" + std::to_string(directory);
        inotify_add_watch(events_.get(), path.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    }
    // Waits until one has come since the last time; false when none does within the time.
    bool wait_until(steady_clock::time_point deadline) const {
        for (;;) {
            const auto left =
                std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
            pollfd come = {events_.get(), POLLIN, 0};
            const int count = left > 0 ? poll(&come, 1, static_cast<int>(left)) : 0;
            if (count >= 0 || errno != EINTR) {
                char names[4096];
                while (count > 0 && read(events_.get(), names, sizeof names) > 0) {
                }
                return count > 0;
            }
        }
    }

  private:
    const unique_fd events_;
};

class host_service_manager : public IServiceManager {
  public:
    sp<IBinder> getService(const String16& name) const override {
        return find(name, corvex_binder::service_wait_ms());
    }
    sp<IBinder> checkService(const String16& name) const override { return find(name, 0); }
    status_t addService(const String16& name, const sp<IBinder>& service) override;

  private:
    static sp<IBinder> find(const String16& name, int wait_ms);
};

sp<IBinder> host_service_manager::find(const String16& name, int wait_ms) {
    const std::string file = corvex_binder::socket_name(name);
    const auto deadline = steady_clock::now() + milliseconds(wait_ms);
    status_t status = NO_ERROR;
    // Made where it is missing and wanted: what is not there cannot be watched.
    const unique_fd directory = corvex_binder::open_socket_directory(wait_ms > 0, &status);
    if (file.empty() || !directory.valid()) {
        return nullptr;
    }
    sp<IBinder> service;
    if (wait_ms == 0) {
        look_up(directory.get(), name, file, &service);
        return service;
    }
    const folder_watch watch(directory.get());
    do {
        status = look_up(directory.get(), name, file, &service);
    } while (status == NAME_NOT_FOUND && watch.wait_until(deadline));
    return service;
}

status_t host_service_manager::addService(const String16& name, const sp<IBinder>& service) {
    const std::string file = corvex_binder::socket_name(name);
    if (file.empty() || service == nullptr) {
        BINDER_LOG(ERROR, "a service is not registered: %s",
                   service == nullptr ? "it is null" : "its name is empty or too long");
        return BAD_VALUE;
    }
    std::shared_ptr<listener> replaced;  // goes after the lock: its end may run anything
    // Socket and table change together, so that of two registrations the same one is found in both.
    const guard_lock lock(own().mutex);
    status_t status = NO_ERROR;
    const std::shared_ptr<listener> socket = listener::make(file, service, &status);
    if (socket == nullptr) {
        BINDER_LOG(ERROR, "the service '%s' is not registered: %s", String8(name).string(),
                   strerror(-status));
        return status;
    }
    if (std::exchange(registered_by, getpid()) != getpid()) {
        atexit(remove_sockets);
    }
    replaced = std::exchange(own().by_name[name], socket);
    if (replaced != nullptr) {
        corvex_binder::io_loop::get()->remove(*replaced);
    }
    return NO_ERROR;
}

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    static const auto* manager = new sp<IServiceManager>(new host_service_manager);
    return *manager;
}

}  // namespace android
