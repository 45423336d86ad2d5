// An object that can be called, in this process or in another one.
//
// Every function may be called from any thread. None throws. Objects are held by sp<> only. What is
// not pure here answers as an object of this process does.
#pragma once

#include <stdint.h>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

// Seen by others where a library is built to hide what it does not export.
#define BINDER_EXPORT __attribute__((visibility("default")))

#define B_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

class BINDER_EXPORT IBinder : public virtual RefBase {
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

    // Empty for a proxy, and where there is no interface.
    virtual const String16& getInterfaceDescriptor() const;

    virtual bool isBinderAlive() const { return true; }
    virtual status_t pingBinder() { return NO_ERROR; }

    // Calls the object. `reply` may be null; otherwise it holds the answer afterwards, or the error
    // (Parcel::errorCheck). The library's README.md says which there are beside the object's own.
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
                                 uint32_t flags = 0);

    // Undoes one link with this recipient (or, where that is null, this cookie) and these flags;
    // `outRecipient`, if not null, gets the recipient. NAME_NOT_FOUND when there is no such link.
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr);

    // This object as what it is; null where it is the other.
    virtual BBinder* localBinder() { return nullptr; }
    virtual BpBinder* remoteBinder() { return nullptr; }
};

}  // namespace android
