// Objects of this process.

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

#include "attached_objects.h"

namespace android {

IBinder::IBinder() = default;
IBinder::~IBinder() = default;

sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) {
    return nullptr;
}

bool IBinder::checkSubclass(const void* /*subclassID*/) const {
    return false;
}

BBinder* IBinder::localBinder() {
    return nullptr;
}

BpBinder* IBinder::remoteBinder() {
    return nullptr;
}

class BBinder::Extras {
  public:
    corvex_binder::attached_objects attached;
};

BBinder::BBinder() = default;

BBinder::~BBinder() {
    delete mExtras.load(std::memory_order_acquire);
}

const String16& BBinder::getInterfaceDescriptor() const {
    static const auto* none = new String16();
    return *none;
}

bool BBinder::isBinderAlive() const {
    return true;
}

status_t BBinder::pingBinder() {
    return NO_ERROR;
}

status_t BBinder::dump(int /*fd*/, const Vector<String16>& /*args*/) {
    return NO_ERROR;
}

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    Parcel unread;
    Parcel* answer = reply != nullptr ? reply : &unread;
    data.setDataPosition(0);
    status_t status = NO_ERROR;
    if (code == PING_TRANSACTION) {
        status = answer->writeInt32(pingBinder());
    } else {
        status = onTransact(code, data, answer, flags);
    }
    answer->setDataPosition(0);
    return status;
}

namespace {

status_t serve_dump(BBinder& binder, const Parcel& data) {
    const int fd = data.readFileDescriptor();
    int32_t count = 0;
    const status_t status = data.readInt32(&count);
    if (fd < 0 || status != NO_ERROR || count < 0) {
        return BAD_VALUE;
    }
    Vector<String16> args;
    for (int32_t i = 0; i < count; ++i) {
        String16 arg;
        if (data.readString16(&arg) != NO_ERROR) {
            return BAD_VALUE;
        }
        args.add(arg);
    }
    return binder.dump(fd, args);
}

}  // namespace

status_t BBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t /*flags*/) {
    switch (code) {
        case INTERFACE_TRANSACTION:
            return reply->writeString16(getInterfaceDescriptor());
        case DUMP_TRANSACTION:
            return serve_dump(*this, data);
        case SYSPROPS_TRANSACTION:
            // There is nobody to tell that system properties have changed.
            return NO_ERROR;
        default:
            return UNKNOWN_TRANSACTION;
    }
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                              uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
}

BBinder::Extras* BBinder::extras() {
    Extras* made = mExtras.load(std::memory_order_acquire);
    if (made == nullptr) {
        auto* mine = new Extras;
        if (mExtras.compare_exchange_strong(made, mine, std::memory_order_acq_rel)) {
            return mine;
        }
        delete mine;
    }
    return made;
}

void BBinder::attachObject(const void* objectID, void* object, void* cleanupCookie,
                           object_cleanup_func func) {
    extras()->attached.attach(objectID, object, cleanupCookie, func);
}

void* BBinder::findObject(const void* objectID) const {
    const Extras* made = mExtras.load(std::memory_order_acquire);
    return made != nullptr ? made->attached.find(objectID) : nullptr;
}

void BBinder::detachObject(const void* objectID) {
    extras()->attached.detach(objectID);
}

BBinder* BBinder::localBinder() {
    return this;
}

BpRefBase::BpRefBase(const sp<IBinder>& o) : mRemote(o) {}
BpRefBase::~BpRefBase() = default;

IInterface::IInterface() = default;
IInterface::~IInterface() = default;

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    return iface != nullptr ? const_cast<IInterface*>(iface)->onAsBinder() : nullptr;
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) {
    return iface != nullptr ? iface->onAsBinder() : nullptr;
}

}  // namespace android
