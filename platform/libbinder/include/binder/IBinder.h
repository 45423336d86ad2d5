// An object that can be called, in this process or in another one.
//
// Every function may be called from any thread. None throws. Objects are held by sp<> only.
#pragma once

#include <stdint.h>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

#define B_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))

#pragma GCC visibility push(default)

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

class IBinder : public virtual RefBase {
  public:
    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x00ffffff,

        PING_TRANSACTION = B_PACK_CHARS('_', 'P', 'N', 'G'),

        // The call returns once it is on its way; there is no reply.
        FLAG_ONEWAY = 0x00000001
    };

    // The object itself, with a new strong reference, where it is local and has this descriptor.
    virtual sp<IInterface> queryLocalInterface(const String16& descriptor);

    // Empty for a proxy.
    virtual const String16& getInterfaceDescriptor() const = 0;

    virtual bool isBinderAlive() const = 0;
    virtual status_t pingBinder() = 0;

    // Calls the object. `reply` may be null; otherwise it holds the answer afterwards, or the error
    // (Parcel::errorCheck). Beside what the object itself answers: FAILED_TRANSACTION when a parcel
    // has more than 256 KiB; and on a proxy DEAD_OBJECT when the other process is gone, TIMED_OUT
    // when it does not answer, FAILED_TRANSACTION when either process is short of descriptors,
    // threads or room for the call, INVALID_OPERATION when the parcel has an object of a third
    // process, BAD_VALUE when it is malformed.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags = 0) = 0;

    class DeathRecipient : public virtual RefBase {
      public:
        // On a thread of the library's, exactly once for each link.
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    // Asks to be told when the object's process is gone. The recipient is not kept alive.
    // DEAD_OBJECT when it is gone already, INVALID_OPERATION on a local object.
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;

    // Undoes one link with this recipient (or, where that is null, this cookie) and these flags;
    // `outRecipient`, if not null, gets the recipient. NAME_NOT_FOUND when there is no such link.
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0,
                                   wp<DeathRecipient>* outRecipient = nullptr) = 0;

    // This object as what it is; null where it is the other.
    virtual BBinder* localBinder() { return nullptr; }
    virtual BpBinder* remoteBinder() { return nullptr; }
};

}  // namespace android

#pragma GCC visibility pop
