// What goes over the sockets, and how it gets there: one message each time, in the machine's own
// byte order, with its descriptors. Everything is of fixed size and explicitly padded, so that 32-
// and 64-bit processes understand each other.
//
// The decoders here know no objects; they say whether bytes hold together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sys/uio.h>
#include <vector>

#include <android-base/unique_fd.h>

namespace android::corvex_binder {

using base::unique_fd;

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

struct received_message {
    const uint8_t* bytes = nullptr;
    // 0 at the end of the connection, for a message that is longer than the room for it, and on
    // failure.
    size_t size = 0;
    int error = 0;            // of errno
    bool lacks_room = false;  // there was none for all of its descriptors
    // Closing one may block, where the sender wants it to: on the loop's thread they are handed on.
    std::vector<unique_fd> descriptors;

    // Copies the fixed part; false where there are fewer bytes.
    template <typename Fixed>
    bool decode(Fixed* fixed) const {
        if (size >= sizeof *fixed) {
            memcpy(fixed, bytes, sizeof *fixed);
        }
        return size >= sizeof *fixed;
    }
    // 0 where there is none.
    uint32_t type() const {
        uint32_t type = 0;
        decode(&type);
        return type;
    }
};

// A parcel inside a message that has been received.
struct wire_parcel {
    bool holds = false;  // the bytes behind the message's fixed part are this parcel
    const uint8_t* data = nullptr;
    size_t data_bytes = 0;
    const uint8_t* table = nullptr;
    size_t objects = 0;
    size_t descriptors = 0;

    wire_object object(size_t index) const {
        wire_object one = {};
        memcpy(&one, table + index * sizeof one, sizeof one);
        return one;
    }
};

// Points into the message.
wire_parcel decode_parcel(const parcel_header& header, const received_message& message,
                          size_t fixed_size);

// A message that is to be sent. Borrows all of it.
struct outgoing_message {
    outgoing_message(const void* bytes, size_t size)
        : parts{{const_cast<void*>(bytes), size}, {}, {}} {}
    template <typename Fixed>
    explicit outgoing_message(const Fixed& fixed) : outgoing_message(&fixed, sizeof fixed) {}

    size_t size() const { return parts[0].iov_len + parts[1].iov_len + parts[2].iov_len; }

    iovec parts[3];  // the fixed part, a parcel's objects, its data
    const int* descriptors = nullptr;
    size_t descriptor_count = 0;
};

// `flags` as of recvmsg(). The message points into the room.
received_message receive_message(int socket, uint8_t* room, size_t size, int flags);

// All of the message, or nothing: 0 or an error of errno.
int send_message(int socket, const outgoing_message& message, int flags);
template <typename Fixed>
int send_message(int socket, const Fixed& fixed, int flags) {
    return send_message(socket, outgoing_message(fixed), flags);
}

// A pair of connected sockets, or one socket, that take the largest message.
bool make_socket_pair(unique_fd* ours, unique_fd* theirs);
void make_room_for_messages(int socket);

// How long sending and connecting (SO_SNDTIMEO) or receiving (SO_RCVTIMEO) waits; 0 is for ever.
void set_timeout(int socket, int which, int timeout_ms);

}  // namespace android::corvex_binder
