// What another process may send over a socket. The first byte says with how many descriptors, the
// rest is the message.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <unistd.h>

#include <binder/Binder.h>

#include "platform/libbinder/src/carried_parcel.h"
#include "platform/libbinder/src/connection.h"

namespace {

using namespace android::corvex_binder;
using android::Parcel;

template <typename T, android::status_t (Parcel::*read)(T*) const>
void try_read(const Parcel& parcel) {
    T value = {};
    (parcel.*read)(&value);
}

void (*const kReaders[])(const Parcel&) = {
    try_read<android::String16, &Parcel::readString16>,
    try_read<android::sp<android::IBinder>, &Parcel::readNullableStrongBinder>,
    try_read<uint64_t, &Parcel::readUint64>,
    [](const Parcel& parcel) { parcel.readFileDescriptor(); },
    [](const Parcel& parcel) { parcel.readInplace(5); },
};

void read_all(const Parcel& parcel) {
    parcel.setDataPosition(0);
    for (size_t before = 0; before < parcel.dataSize(); before = parcel.dataPosition()) {
        kReaders[(parcel.data()[before] + before) % std::size(kReaders)](parcel);
        if (parcel.dataPosition() < before || parcel.dataPosition() > parcel.dataSize()) {
            std::abort();
        }
        parcel.setDataPosition(std::max(parcel.dataPosition(), before + 1));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) {
        return 0;
    }
    // Where what is received is given back to, which nobody reads.
    unique_fd ours;
    unique_fd theirs;
    if (!make_socket_pair(&ours, &theirs)) {
        std::abort();
    }
    const auto from =
        std::make_shared<connection>(std::move(ours), peer::of({getpid(), geteuid(), 0}));
    object_table objects;
    objects.offer_service(new android::BBinder);

    received_message message;
    for (size_t i = 0; i < bytes[0] % (kMaxDescriptors + 1); ++i) {
        message.descriptors.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    // A heap block of exactly that size, so that reading past it is seen.
    const size_t length = size - 1;
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[length]);
    memcpy(exact.get(), bytes + 1, length);
    message.bytes = exact.get();
    message.size = length;
    call_message call = {};
    reply_message reply = {};
    release_message release = {};
    Parcel parcel;
    if ((message.type() == kCall || message.type() == kOnewayCall) && message.decode(&call)) {
        objects.find(call.target);
        take_parcel(from, objects, decode_parcel(call.parcel, message, sizeof call), message,
                    &parcel);
    } else if (message.type() == kReply && message.decode(&reply)) {
        take_parcel(from, objects, decode_parcel(reply.parcel, message, sizeof reply), message,
                    &parcel);
    } else if (message.decode(&release)) {
        android::sp<android::IBinder> released;
        if (objects.release(release, &released) && release.object == kServiceObject &&
            released != nullptr) {
            std::abort();
        }
    }
    read_all(parcel);
    return 0;
}
