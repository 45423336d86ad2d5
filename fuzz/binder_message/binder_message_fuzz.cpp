// What another process may send over a socket. The first byte says in pieces of how many bytes the
// rest arrives, and, in its upper half, with how many descriptors at the start.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <memory>

#include "platform/libbinder/src/frame_reader.h"
#include "platform/libbinder/src/parcel_object.h"

namespace {

using namespace corvex_binder;
using android::Parcel;

template <typename T, android::status_t (Parcel::*read)(T*) const>
void try_read(const Parcel& parcel) {
    T value = {};
    (parcel.*read)(&value);
}

void (*const kReaders[])(const Parcel&) = {
    try_read<android::String16, &Parcel::readString16>,
    try_read<android::String8, &Parcel::readString8>,
    try_read<android::sp<android::IBinder>, &Parcel::readStrongBinder>,
    try_read<std::vector<int64_t>, &Parcel::readInt64Vector>,
    try_read<std::vector<android::String16>, &Parcel::readString16Vector>,
    try_read<std::vector<uint8_t>, &Parcel::readByteVector>,
    [](const Parcel& parcel) { parcel.readFileDescriptor(); },
    [](const Parcel& parcel) { parcel.readCString(); },
};

void read_frame(const incoming_frame& frame) {
    const size_t fixed = std::min(frame.payload_bytes, sizeof(call_payload));
    // A heap block of exactly that size, so that reading past it is seen.
    const size_t size = frame.payload_bytes - fixed;
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
    memcpy(exact.get(), frame.payload + fixed, size);
    wire_parcel wire;
    if (!decode_parcel(exact.get(), size, frame.descriptors.size(), &wire)) {
        return;
    }
    std::vector<parcel_object> objects(wire.objects.size());
    for (size_t i = 0, used = 0; i < objects.size(); ++i) {
        const bool is_descriptor = wire.objects[i].kind == kDescriptor;
        objects[i].offset = wire.objects[i].offset;
        objects[i].type = is_descriptor ? kDescriptorType : kBinderType;
        objects[i].fd = is_descriptor ? frame.descriptors[used++].get() : -1;
    }
    Parcel parcel;
    parcel_access::fill(parcel, wire.data, wire.data_bytes, &objects);
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
    const size_t piece = size > 0 ? size_t{1} << (bytes[0] & 15) : 1;
    std::vector<unique_fd> descriptors;
    for (int i = 0; size > 0 && i < bytes[0] >> 4; ++i) {
        descriptors.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    frame_reader reader;
    frame_reader::result result = frame_reader::result::need_more;
    for (size_t at = 1; at < size && result == frame_reader::result::need_more; at += piece) {
        reader.feed(bytes + at, std::min(piece, size - at), std::exchange(descriptors, {}));
        for (incoming_frame frame; (result = reader.next(&frame)) == frame_reader::result::frame;) {
            read_frame(frame);
        }
    }
    return 0;
}
