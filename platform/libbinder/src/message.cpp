#include "message.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>

#include "parcel_object.h"

namespace android::corvex_binder {

namespace {

constexpr size_t kControlBytes = CMSG_SPACE(kMaxDescriptors * sizeof(int));

// What the kernel keeps beside the bytes counts as well.
constexpr int kSendRoom = static_cast<int>(kMaxMessageBytes + (size_t{64} << 10));

void take_descriptors(msghdr& header, received_message* message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd = -1;
            memcpy(&fd, CMSG_DATA(part) + i * sizeof fd, sizeof fd);
            message->descriptors.emplace_back(fd);
        }
    }
}

}  // namespace

received_message receive_message(int socket, uint8_t* room, size_t size, int flags) {
    iovec part = {room, size};
    alignas(cmsghdr) char control[kControlBytes];
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    received_message message;
    message.bytes = room;
    const ssize_t received = recvmsg(socket, &header, flags | MSG_CMSG_CLOEXEC);
    if (received < 0) {
        message.error = errno;
        return message;
    }
    take_descriptors(header, &message);
    message.lacks_room = (header.msg_flags & MSG_CTRUNC) != 0;
    message.size = (header.msg_flags & MSG_TRUNC) == 0 ? static_cast<size_t>(received) : 0;
    return message;
}

int send_message(int socket, const outgoing_message& message, int flags) {
    msghdr header = {};
    header.msg_iov = const_cast<iovec*>(message.parts);
    header.msg_iovlen = std::size(message.parts);
    alignas(cmsghdr) char control[kControlBytes];
    if (message.descriptor_count > 0) {
        const size_t bytes = message.descriptor_count * sizeof(int);
        memset(control, 0, sizeof control);
        header.msg_control = control;
        header.msg_controllen = CMSG_SPACE(bytes);
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(bytes);
        memcpy(CMSG_DATA(part), message.descriptors, bytes);
    }
    ssize_t sent = -1;
    do {
        sent = sendmsg(socket, &header, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

bool make_socket_pair(unique_fd* ours, unique_fd* theirs) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    ours->reset(ends[0]);
    theirs->reset(ends[1]);
    make_room_for_messages(ends[0]);
    make_room_for_messages(ends[1]);
    return true;
}

void make_room_for_messages(int socket) {
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSendRoom, sizeof kSendRoom);
}

void set_timeout(int socket, int which, int timeout_ms) {
    timeval timeout = {};
    timeout.tv_sec = timeout_ms / 1000;
    timeout.tv_usec = timeout_ms % 1000 * 1000L;
    setsockopt(socket, SOL_SOCKET, which, &timeout, sizeof timeout);
}

static_assert(sizeof(hello_message) == 24 && sizeof(call_message) == 40);
static_assert(sizeof(reply_message) == 24 && sizeof(oneway_done_message) == 16);
static_assert(sizeof(release_message) == 32 && sizeof(plain_message) == 8);
static_assert(sizeof(parcel_header) == 8 && sizeof(wire_object) == 16);

wire_parcel decode_parcel(const parcel_header& header, const received_message& message,
                          size_t fixed_size) {
    wire_parcel parcel;
    if (header.data_bytes > kMaxParcelBytes || header.objects > kMaxObjects ||
        message.size - fixed_size != header.objects * sizeof(wire_object) + header.data_bytes) {
        return parcel;
    }
    parcel.table = message.bytes + fixed_size;
    parcel.objects = header.objects;
    parcel.data = parcel.table + header.objects * sizeof(wire_object);
    parcel.data_bytes = header.data_bytes;
    size_t free_from = 0;
    for (size_t i = 0; i < header.objects; ++i) {
        const wire_object object = parcel.object(i);
        if (object.offset < free_from || object.offset > header.data_bytes ||
            header.data_bytes - object.offset < sizeof(flat_object) ||
            object.kind < kSendersObject || object.kind > kDescriptor) {
            return parcel;
        }
        free_from = object.offset + sizeof(flat_object);
        parcel.descriptors += object.kind == kDescriptor ? 1 : 0;
    }
    parcel.holds = parcel.descriptors <= kMaxDescriptors;
    return parcel;
}

}  // namespace android::corvex_binder
