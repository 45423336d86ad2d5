// What goes over a socket: frames of a header and a payload, in the machine's own byte order, with
// descriptors beside the first byte. Everything is of fixed size and explicitly padded, so that 32-
// and 64-bit processes understand each other.
//
// The decoders here know no sockets and no objects; they say whether bytes hold together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <binder/Parcel.h>

#include "unique_fd.h"

namespace corvex_binder {

constexpr size_t kMaxFrameParcelBytes = size_t{1} << 20;
constexpr size_t kMaxFrameObjects = 4096;
constexpr size_t kMaxFrameDescriptors = 64;

constexpr uint32_t kWireVersion = 1;
constexpr char kWireMagic[8] = {'C', 'o', 'r', 'v', 'e', 'x', 'B', '\n'};

enum frame_type : uint16_t {
    kHelloFrame = 1,
    kCallFrame,
    kReplyFrame,
    kOnewayDoneFrame,
    kReleaseFrame,
    kObjectDiedFrame,
};

struct frame_header {
    uint32_t payload_bytes;
    uint16_t type;
    uint16_t descriptors;
};

// First frame in both directions.
struct hello_payload {
    char magic[sizeof kWireMagic];
    uint32_t version;
    uint32_t reserved;
    uint8_t process[16];  // a random name, by which two connections to one process are recognised
};

// A parcel follows. Call 0 is a one-way call.
struct call_payload {
    uint64_t call;
    uint64_t target;  // an object that the receiver has sent; 0 is its registry of services
    uint32_t code;
    uint32_t flags;
};

// A parcel follows where the status is 0.
struct reply_payload {
    uint64_t call;
    int32_t status;
    uint32_t reserved;
};

// One-way calls of this cost have been served.
struct oneway_done_payload {
    uint64_t cost;
};

// The sender has forgotten an object that it has received so many times.
struct release_payload {
    uint64_t object;
    uint64_t times;
};

// An object that the sender passes on for another process went with that process.
struct object_died_payload {
    uint64_t object;
};

// The objects and then the data follow.
struct parcel_header {
    uint32_t data_bytes;
    uint32_t objects;
};

enum wire_object_kind : uint32_t {
    kSendersObject = 1,
    kReceiversObject,
    kDescriptor,  // the frame's next one
};

struct wire_object {
    uint32_t offset;  // in the data; rising
    uint32_t kind;
    uint64_t object;
};

constexpr size_t kMaxPayloadBytes = sizeof(call_payload) + sizeof(parcel_header) +
                                    kMaxFrameObjects * sizeof(wire_object) + kMaxFrameParcelBytes;

// How much of the room for what is on its way a frame takes.
constexpr uint64_t frame_cost(size_t payload_bytes, size_t descriptors) {
    return payload_bytes + 256 + descriptors * 16384;
}

// The one-way calls that one side may have on their way to the other, served or not. Larger than
// any one call.
constexpr uint64_t kMaxOnewayCost = uint64_t{4} << 20;

struct wire_parcel {
    const uint8_t* data = nullptr;
    size_t data_bytes = 0;
    std::vector<wire_object> objects;
};

// Copies a payload's fixed part; false where there are fewer bytes.
bool decode_fixed(const uint8_t* bytes, size_t size, void* fixed, size_t fixed_size);

// Whether these bytes are a parcel that uses exactly this many descriptors; `parcel` then points
// into them.
bool decode_parcel(const uint8_t* bytes, size_t size, size_t descriptors, wire_parcel* parcel);

// One frame as it is sent: all its bytes, and the descriptors that go with the first.
struct outgoing_frame {
    std::vector<uint8_t> bytes;
    std::vector<unique_fd> descriptors;
    size_t sent = 0;

    uint64_t cost() const {
        return frame_cost(bytes.size() - sizeof(frame_header), descriptors.size());
    }
};

// A frame of a fixed payload, behind which append_parcel() may append.
outgoing_frame begin_frame(frame_type type, const void* fixed, size_t fixed_size);
// Whether a parcel keeps to a frame's limits.
bool fits_frame(const android::Parcel& parcel);
// Duplicates of a parcel's descriptors; false where one is not open or there is no room for it in
// this process.
bool duplicate_descriptors(const android::Parcel& parcel, std::vector<unique_fd>* descriptors);
// Appends a parcel that fits, with the objects that the caller has named.
void append_parcel(const android::Parcel& parcel, const std::vector<wire_object>& objects,
                   std::vector<unique_fd>&& descriptors, outgoing_frame& frame);

}  // namespace corvex_binder
