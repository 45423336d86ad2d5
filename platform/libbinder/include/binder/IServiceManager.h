// Services by name, among the processes of one user: README.md of this library says where.
#pragma once

#include <sys/types.h>

#include <binder/IInterface.h>
#include <utils/Vector.h>

#pragma GCC visibility push(default)

namespace android {

class IServiceManager : public IInterface {
  public:
    DECLARE_META_INTERFACE(ServiceManager)

    static const int DUMP_FLAG_PRIORITY_CRITICAL = 1 << 0;
    static const int DUMP_FLAG_PRIORITY_HIGH = 1 << 1;
    static const int DUMP_FLAG_PRIORITY_NORMAL = 1 << 2;
    static const int DUMP_FLAG_PRIORITY_DEFAULT = 1 << 3;
    static const int DUMP_FLAG_PRIORITY_ALL = DUMP_FLAG_PRIORITY_CRITICAL |
                                              DUMP_FLAG_PRIORITY_HIGH | DUMP_FLAG_PRIORITY_NORMAL |
                                              DUMP_FLAG_PRIORITY_DEFAULT;
    static const int DUMP_FLAG_PROTO = 1 << 4;

    // The service, or null when it has not come within CORVEX_BINDER_WAIT_MS.
    virtual sp<IBinder> getService(const String16& name) const = 0;
    // The service, or null; does not wait for it to come.
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Offers a service, in place of one of this name, for as long as this process lives. BAD_VALUE
    // for a bad name or a null service; otherwise, when other processes could not find it, the
    // reason, and nothing is registered.
    virtual status_t addService(const String16& name, const sp<IBinder>& service,
                                bool allowIsolated = false,
                                int dumpsysFlags = DUMP_FLAG_PRIORITY_DEFAULT) = 0;
    // The names of all services that are there.
    virtual Vector<String16> listServices(int dumpsysFlags = DUMP_FLAG_PRIORITY_ALL) = 0;

    enum {
        GET_SERVICE_TRANSACTION = IBinder::FIRST_CALL_TRANSACTION,
        CHECK_SERVICE_TRANSACTION,
        ADD_SERVICE_TRANSACTION,
        LIST_SERVICES_TRANSACTION,
    };
};

// Never null.
sp<IServiceManager> defaultServiceManager();

template <typename INTERFACE>
status_t getService(const String16& name, sp<INTERFACE>* outService) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm != nullptr) {
        *outService = interface_cast<INTERFACE>(sm->getService(name));
        if ((*outService) != nullptr) {
            return NO_ERROR;
        }
    }
    return NAME_NOT_FOUND;
}

}  // namespace android

#pragma GCC visibility pop
