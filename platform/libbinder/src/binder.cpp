// Objects of this process.

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

#include "carried_parcel.h"

namespace android {

IBinder::IBinder() = default;
IBinder::~IBinder() = default;

sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) {
    return nullptr;
}

BBinder* IBinder::localBinder() {
    return nullptr;
}

BpBinder* IBinder::remoteBinder() {
    return nullptr;
}

BBinder::BBinder() = default;
BBinder::~BBinder() = default;

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

// The same limit in one process as between two, so that nothing depends on where an object lives.
status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    Parcel unread;
    Parcel* answer = reply != nullptr ? reply : &unread;
    if (!corvex_binder::may_travel(data)) {
        answer->freeData();
        answer->setError(FAILED_TRANSACTION);
        return FAILED_TRANSACTION;
    }
    data.setDataPosition(0);
    status_t status = NO_ERROR;
    if (code == PING_TRANSACTION) {
        status = answer->writeInt32(pingBinder());
    } else {
        status = onTransact(code, data, answer, flags);
    }
    if (status == NO_ERROR && !corvex_binder::may_travel(*answer)) {
        status = FAILED_TRANSACTION;
        answer->freeData();
        answer->setError(status);
    }
    answer->setDataPosition(0);
    return status;
}

status_t BBinder::onTransact(uint32_t /*code*/, const Parcel& /*data*/, Parcel* /*reply*/,
                             uint32_t /*flags*/) {
    return UNKNOWN_TRANSACTION;
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                              uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
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
