// What another process may send to a player or to an observer. The first byte is the transaction
// code, or an event to an observer where its top bit is set; the rest is the request behind the
// interface's name, or without that where the code is odd in bit 6.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <binder/Parcel.h>
#include <zuavplayer/IZuAvPlayer.h>

#include "tests/player_client/fake_player.h"

namespace {

using android::BAD_VALUE;
using android::NO_ERROR;
using android::Parcel;
using android::sp;
using android::status_t;

constexpr uint8_t to_observer = 0x80;
constexpr uint8_t without_name = 0x40;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

class reading_observer : public android::BnZuAvplayerObserver {
  public:
    void onMessage(int /*msg*/, void* data, uint32_t len, int /*source*/) override {
        if (data != nullptr && len > 0) {
            const std::unique_ptr<char[]> copy(new char[len]);
            std::memcpy(copy.get(), data, len);
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) {
        return 0;
    }
    static const sp<android::IBinder> player = android::IInterface::asBinder(
        sp<fake_player_service>(new fake_player_service(""))->getPlayer());
    static const sp<android::IBinder> observer = new reading_observer;
    const bool event = (bytes[0] & to_observer) != 0;
    const uint32_t code = bytes[0] & 0x3F;
    const bool known = event ? code == 1 : code >= 1 && code <= 53 && code != 43;

    Parcel request;
    if ((bytes[0] & without_name) == 0) {
        request.writeInterfaceToken(event ? android::IZuAvplayerObserver::descriptor
                                          : android::IZuAvPlayer::descriptor);
    }
    request.write(bytes + 1, size - 1);
    request.setDataPosition(0);
    Parcel reply;
    const status_t status = (event ? observer : player)->transact(code, request, &reply);
    require(known ? status == NO_ERROR || status == BAD_VALUE
                  : status == android::UNKNOWN_TRANSACTION);
    reply.setDataPosition(0);
    int32_t result = 0;
    require(!(known && status == NO_ERROR && !event) || reply.readInt32(&result) == NO_ERROR);
    return 0;
}
