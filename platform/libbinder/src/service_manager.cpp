// Services by name: of this process, or of whoever listens at their sockets.

#include <chrono>
#include <set>
#include <thread>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include "connection.h"
#include "log.h"
#include "peers.h"
#include "service_registry.h"
#include "settings.h"
#include "socket_directory.h"
#include "thread_pool.h"

namespace android {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How long a process that listens may take to answer, and how often one that does not is asked for.
constexpr milliseconds kAnswerTime(500);
constexpr milliseconds kAskAgain(10);

int left_ms(steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - steady_clock::now());
    return left.count() > 1 ? static_cast<int>(left.count()) : 1;
}

// What the process that listens at the name says; DEAD_OBJECT when it was just going.
status_t ask(int directory, const std::string& file, const String16& name,
             steady_clock::time_point deadline, sp<IBinder>* service) {
    bool is_self = false;
    const auto peer = corvex_binder::connect_peer(directory, file, left_ms(deadline), &is_self);
    if (peer == nullptr) {
        if (is_self) {
            *service = corvex_binder::find_own_service(name);
        }
        return NO_ERROR;
    }
    Parcel data;
    Parcel reply;
    data.writeString16(name);
    const status_t status =
        peer->call(corvex_binder::connection::kRegistry, IServiceManager::CHECK_SERVICE_TRANSACTION,
                   data, &reply, 0, left_ms(deadline));
    if (status == NO_ERROR) {
        reply.readNullableStrongBinder(service);
    }
    peer->end_use();
    return status;
}

sp<IBinder> look_up(const String16& name, const std::string& file, bool quiet) {
    sp<IBinder> service = corvex_binder::find_own_service(name);
    if (service != nullptr) {
        return service;
    }
    status_t status = NO_ERROR;
    const corvex_binder::unique_fd directory =
        corvex_binder::open_socket_directory(false, quiet, &status);
    if (!directory.valid()) {
        return nullptr;
    }
    const auto deadline = steady_clock::now() + kAnswerTime;
    // The connection that we had may have been ending, idle, as we took it.
    if (ask(directory.get(), file, name, deadline, &service) == DEAD_OBJECT) {
        ask(directory.get(), file, name, deadline, &service);
    }
    return service;
}

class host_service_manager : public BnInterface<IServiceManager> {
  public:
    sp<IBinder> getService(const String16& name) const override {
        const std::string file = corvex_binder::socket_name(name);
        const auto deadline = steady_clock::now() + milliseconds(corvex_binder::service_wait_ms());
        bool quiet = false;
        for (;;) {
            sp<IBinder> service = file.empty() ? nullptr : look_up(name, file, quiet);
            if (service != nullptr || file.empty() || steady_clock::now() >= deadline) {
                return service;
            }
            quiet = true;
            const corvex_binder::thread_pool::waiting waiting;
            std::this_thread::sleep_for(kAskAgain);
        }
    }

    sp<IBinder> checkService(const String16& name) const override {
        const std::string file = corvex_binder::socket_name(name);
        return file.empty() ? nullptr : look_up(name, file, false);
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool /*allowIsolated*/,
                        int /*dumpsysFlags*/) override {
        return corvex_binder::register_service(name, service);
    }

    Vector<String16> listServices(int /*dumpsysFlags*/) override {
        std::set<String16> names;
        for (const String16& name : corvex_binder::list_own_services()) {
            names.insert(name);
        }
        status_t status = NO_ERROR;
        const corvex_binder::unique_fd directory =
            corvex_binder::open_socket_directory(false, false, &status);
        if (directory.valid()) {
            for (const std::string& file : corvex_binder::list_sockets(directory.get())) {
                if (corvex_binder::connect_to(directory.get(), file, 0).valid()) {
                    names.insert(String16(corvex_binder::service_name(file).c_str()));
                }
            }
        }
        Vector<String16> list;
        for (const String16& name : names) {
            list.add(name);
        }
        return list;
    }
};

}  // namespace

const String16& IServiceManager::descriptor = *new String16("android.os.IServiceManager");

const String16& IServiceManager::getInterfaceDescriptor() const {
    return descriptor;
}

// There is no manager in another process, so there are no proxies of one.
sp<IServiceManager> IServiceManager::asInterface(const sp<IBinder>& obj) {
    return obj != nullptr
               ? static_cast<IServiceManager*>(obj->queryLocalInterface(descriptor).get())
               : nullptr;
}

IServiceManager::IServiceManager() = default;
IServiceManager::~IServiceManager() = default;

sp<IServiceManager> defaultServiceManager() {
    static const auto* manager = new sp<IServiceManager>(new host_service_manager);
    return *manager;
}

}  // namespace android
