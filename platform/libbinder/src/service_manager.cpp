// Services by name: of this process, or of whoever listens at their sockets.

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <utils/String8.h>

#include "log.h"
#include "peer.h"
#include "services.h"
#include "socket_directory.h"

namespace android {

using namespace corvex_binder;

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A descriptor that tells of the files that come into a folder.
int watch_folder(int directory) {
    const int events = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    const std::string path = "/proc/self/fd/" + std::to_string(directory);
    inotify_add_watch(events, path.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    return events;
}

// Waits until one has come since the last time; false when none does within the time.
bool wait_for_file(int events, steady_clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
        pollfd come = {events, POLLIN, 0};
        const int count = left > 0 ? poll(&come, 1, static_cast<int>(left)) : 0;
        if (count >= 0 || errno != EINTR) {
            char names[4096];
            while (count > 0 && read(events, names, sizeof names) > 0) {
            }
            return count > 0;
        }
    }
}

status_t look_up(int directory, const std::string& file, sp<IBinder>* service) {
    *service = find_offered_service(file);
    return *service != nullptr ? status_t{NO_ERROR} : connect_service(directory, file, service);
}

sp<IBinder> find(const String16& name, int wait_ms) {
    const std::string file = socket_name(name);
    const auto deadline = steady_clock::now() + milliseconds(wait_ms);
    status_t status = NO_ERROR;
    // Made where it is missing and wanted: what is not there cannot be watched.
    const unique_fd directory = open_socket_directory(wait_ms > 0, &status);
    if (file.empty() || !directory.ok()) {
        return nullptr;
    }
    const unique_fd watch(wait_ms > 0 ? watch_folder(directory.get()) : -1);
    sp<IBinder> service;
    do {
        status = look_up(directory.get(), file, &service);
    } while (status == NAME_NOT_FOUND && wait_for_file(watch.get(), deadline));
    return service;
}

class host_service_manager : public IServiceManager {
  public:
    sp<IBinder> getService(const String16& name) const override {
        return find(name, service_wait_ms());
    }
    sp<IBinder> checkService(const String16& name) const override { return find(name, 0); }

    status_t addService(const String16& name, const sp<IBinder>& service) override {
        const std::string file = socket_name(name);
        if (file.empty() || service == nullptr) {
            BINDER_LOG(ERROR, "a service is not registered: %s",
                       service == nullptr ? "it is null" : "its name is empty or too long");
            return BAD_VALUE;
        }
        const status_t status = offer_service(file, service);
        if (status != NO_ERROR) {
            BINDER_LOG(ERROR, "the service '%s' is not registered: %s", String8(name).string(),
                       strerror(-status));
        }
        return status;
    }
};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    static const auto* manager = new sp<IServiceManager>(new host_service_manager);
    return *manager;
}

}  // namespace android
