// IZuAvPlayerService: proxy and stub.
#include <limits>  // these two for binder/Parcel.h, which does not always include them
#include <memory>

#include <binder/Parcel.h>
#include <zuavplayer/IZuAvPlayerService.h>

namespace android {

namespace {

enum : uint32_t { GET_PLAYER = IBinder::FIRST_CALL_TRANSACTION };

}  // namespace

class BpZuAvPlayerService : public BpInterface<IZuAvPlayerService> {
  public:
    explicit BpZuAvPlayerService(const sp<IBinder>& impl) : BpInterface<IZuAvPlayerService>(impl) {}

    sp<IZuAvPlayer> getPlayer() override {
        Parcel request;
        Parcel reply;
        request.writeInterfaceToken(IZuAvPlayerService::descriptor);
        sp<IBinder> player;
        if (remote()->transact(GET_PLAYER, request, &reply) != NO_ERROR ||
            reply.readNullableStrongBinder(&player) != NO_ERROR) {
            return nullptr;
        }
        return interface_cast<IZuAvPlayer>(player);
    }
};

IMPLEMENT_META_INTERFACE(ZuAvPlayerService, "corvex.zuavplayer.IZuAvPlayerService")

status_t BnZuAvPlayerService::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                         uint32_t flags) {
    if (code != GET_PLAYER) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.checkInterface(this) || data.dataAvail() != 0) {
        return BAD_VALUE;
    }
    return reply->writeStrongBinder(IInterface::asBinder(getPlayer()));
}

}  // namespace android
