// Services by name: of this process, or of whoever listens at their sockets.

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <binder/IServiceManager.h>

#include "log.h"
#include "service_connections.h"
#include "service_registry.h"
#include "settings.h"
#include "socket_directory.h"

namespace android {

namespace {

using corvex_binder::unique_fd;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

status_t look_up(int directory, const String16& name, const std::string& file,
                 sp<IBinder>* service) {
    *service = corvex_binder::find_own_service(name);
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
        const int wait_ms = corvex_binder::service_wait_ms();
        const std::string file = corvex_binder::socket_name(name);
        if (file.empty() || wait_ms == 0) {
            return checkService(name);
        }
        const auto deadline = steady_clock::now() + milliseconds(wait_ms);
        status_t status = NO_ERROR;
        // Made where it is missing: what is not there cannot be watched.
        const unique_fd directory = corvex_binder::open_socket_directory(true, &status);
        if (!directory.valid()) {
            return nullptr;
        }
        const folder_watch watch(directory.get());
        for (;;) {
            sp<IBinder> service;
            status = look_up(directory.get(), name, file, &service);
            if (status != NAME_NOT_FOUND || !watch.wait_until(deadline)) {
                return service;
            }
        }
    }

    sp<IBinder> checkService(const String16& name) const override {
        const std::string file = corvex_binder::socket_name(name);
        status_t status = NO_ERROR;
        const unique_fd directory = corvex_binder::open_socket_directory(false, &status);
        sp<IBinder> service;
        if (!file.empty() && directory.valid()) {
            look_up(directory.get(), name, file, &service);
        }
        return service;
    }

    status_t addService(const String16& name, const sp<IBinder>& service) override {
        return corvex_binder::register_service(name, service);
    }
};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    static const auto* manager = new sp<IServiceManager>(new host_service_manager);
    return *manager;
}

}  // namespace android
