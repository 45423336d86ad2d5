// What goes over the sockets, and how it gets there: one message each time, in the machine's own
// byte order, with its descriptors. Everything is of fixed size and explicitly padded, so that 32-
// and 64-bit processes understand each other.
//
// The decoders here know no objects; they say whether bytes hold together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/uio.h>
#include <vector>

#include "unique_fd.h"

namespace corvex_binder {

constexpr size_t kMaxParcelBytes = size_t{256} << 10;
constexpr size_t kMaxObjects = 4096;
constexpr size_t kMaxDescriptors = 64;

constexpr uint32_t kWireVersion = 2;
constexpr char kWireMagic[8] = {'C', 'o', 'r', 'v', 'e', 'x', 'B', '\n'};

// The object that a connection is for: the service. Nobody gives it back.
constexpr uint64_t kServiceObject = 1;

enum message_type : uint32_t {
    // On control sockets.
    kHello = 1,   // who connects, first; and the answer to that
    kOnewayCall,  // call_message and a parcel
    kOnewayDone,
    kRelease,
    kChannel,  // one descriptor: where the sender's calls will come
    // On call channels.
    kCall,     // call_message and a parcel
    kReply,    // reply_message and, where its status is 0, a parcel
    kRefused,  // nobody will serve this channel
};

struct hello_message {
    uint32_t type;
    uint32_t version;
    char magic[sizeof kWireMagic];
    int32_t status;  // of the answer: why there will be no connection, or 0
    uint32_t reserved;
};

struct parcel_header {
    uint32_t data_bytes;
    uint32_t objects;
};

struct call_message {
    uint32_t type;
    uint32_t code;
    uint64_t number;  // of the calls of this channel; 0 for a one-way call
    uint64_t target;  // an object that the receiver has sent
    uint32_t flags;
    uint32_t reserved;
    parcel_header parcel;  // its objects and then its data follow
};

struct reply_message {
    uint32_t type;
    int32_t status;
    uint64_t number;
    parcel_header parcel;  // as above
};

// One-way calls of this cost have been served.
struct oneway_done_message {
    uint32_t type;
    uint32_t reserved;
    uint64_t cost;
};

// The sender has forgotten an object that it has received, and named, so many times.
struct release_message {
    uint32_t type;
    uint32_t reserved;
    uint64_t object;
    uint64_t received;
    uint64_t named;
};

// kChannel and kRefused.
struct plain_message {
    uint32_t type;
    uint32_t reserved;
};

enum wire_object_kind : uint32_t {
    kSendersObject = 1,
    kReceiversObject,
    kDescriptor,  // the message's next one
};

struct wire_object {
    uint32_t offset;  // in the data; rising
    uint32_t kind;
    uint64_t object;
};

constexpr size_t kMaxMessageBytes =
    sizeof(call_message) + kMaxObjects * sizeof(wire_object) + kMaxParcelBytes;

// How much of the room for one-way calls a message takes.
constexpr uint64_t message_cost(size_t bytes, size_t descriptors) {
    return bytes + 256 + descriptors * 16384;
}

// The one-way calls that one side may have on their way to the other, served or not.
constexpr uint64_t kMaxOnewayCost = uint64_t{4} << 20;

// A parcel inside a message that has been received.
struct wire_parcel {
    const uint8_t* data = nullptr;
    size_t data_bytes = 0;
    const uint8_t* table = nullptr;
    size_t objects = 0;
    size_t descriptors = 0;

    wire_object object(size_t index) const;
};

// The type of a message; 0 where there is none.
uint32_t message_type_of(const uint8_t* bytes, size_t size);

// Copies a message's fixed part; false where there are fewer bytes.
bool decode_fixed(const uint8_t* bytes, size_t size, void* fixed, size_t fixed_size);

// Whether the bytes behind the fixed part are this parcel; `parcel` then points into them.
bool decode_parcel(const parcel_header& header, const uint8_t* bytes, size_t size,
                   wire_parcel* parcel);

struct received_message {
    // At the end of the connection, and of a message that is longer than the room for it, 0; on
    // failure negative, with errno.
    ssize_t bytes = 0;
    // This process had no room for all of its descriptors.
    bool lost_descriptors = false;
    // Closing one may block, where the sender wants it to: on the loop's thread they are handed on.
    std::vector<unique_fd> descriptors;
};

// `flags` as of recvmsg().
void receive_message(int socket, uint8_t* room, size_t size, int flags, received_message* message);

// All of the message, or nothing: 0 or an error of errno. Borrows the descriptors.
int send_message(int socket, const iovec* parts, size_t part_count, const int* descriptors,
                 size_t descriptor_count, int flags);

// A pair of connected sockets, or one socket, that take the largest message.
bool make_socket_pair(unique_fd* ours, unique_fd* theirs);
void make_room_for_messages(int socket);

// How long receiving waits; 0 is for ever.
void set_receive_timeout(int socket, int timeout_ms);

}  // namespace corvex_binder
