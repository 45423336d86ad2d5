// IZuAvplayerObserver: proxy and stub. An event is sent without waiting: a client that hangs must
// not hold up the service.
#include <limits>  // these two for binder/Parcel.h, which does not always include them
#include <memory>

#include <android/log.h>
#include <binder/Parcel.h>
#include <zuavplayer/IZuAvplayerObserver.h>

#include "argument_kinds.h"

namespace android {

using zuavplayer::Block;

namespace {

enum : uint32_t { ON_MESSAGE = IBinder::FIRST_CALL_TRANSACTION };

bool fits(int msg, const void* data, uint32_t len) {
    if (data == nullptr || len <= kZuAvPlayerMaxBlockBytes) {
        return true;
    }
    __android_log_print(ANDROID_LOG_ERROR, "zuavplayer",
                        "event %d with %u bytes of data is not delivered: at most %u are", msg, len,
                        kZuAvPlayerMaxBlockBytes);
    return false;
}

}  // namespace

void send_event(const sp<IZuAvplayerObserver>& observer, int msg, void* data, uint32_t len,
                int source) {
    // An observer of another process checks for itself.
    if (IInterface::asBinder(observer)->localBinder() == nullptr || fits(msg, data, len)) {
        observer->onMessage(msg, data, len, source);
    }
}

class BpZuAvplayerObserver : public BpInterface<IZuAvplayerObserver> {
  public:
    explicit BpZuAvplayerObserver(const sp<IBinder>& impl)
        : BpInterface<IZuAvplayerObserver>(impl) {}

    void onMessage(int msg, void* data, uint32_t len, int source) override {
        if (!fits(msg, data, len)) {
            return;
        }
        Parcel request;
        request.writeInterfaceToken(IZuAvplayerObserver::descriptor);
        request.writeInt32(msg);
        request.writeInt32(source);
        request.writeUint32(len);
        Block::write(&request, data, len);
        // The sender of an event can do nothing about an observer that has gone: its death notice
        // tells.
        remote()->transact(ON_MESSAGE, request, nullptr, IBinder::FLAG_ONEWAY);
    }
};

IMPLEMENT_META_INTERFACE(ZuAvplayerObserver, "corvex.zuavplayer.IZuAvplayerObserver")

status_t BnZuAvplayerObserver::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                          uint32_t flags) {
    if (code != ON_MESSAGE) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.checkInterface(this)) {
        return BAD_VALUE;
    }
    int32_t msg = 0;
    int32_t source = 0;
    uint32_t len = 0;
    Block block;
    if (data.readInt32(&msg) != NO_ERROR || data.readInt32(&source) != NO_ERROR ||
        data.readUint32(&len) != NO_ERROR || !block.read(data) || data.dataAvail() != 0) {
        return BAD_VALUE;
    }
    if (block.bytes() != nullptr && block.size() != len) {
        return BAD_VALUE;
    }
    onMessage(msg, block.bytes(), len, source);
    return NO_ERROR;
}

}  // namespace android
