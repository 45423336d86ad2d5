#include "message.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>

namespace corvex_binder {

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

void receive_message(int socket, uint8_t* room, size_t size, int flags, received_message* message) {
    iovec part = {room, size};
    alignas(cmsghdr) char control[kControlBytes];
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    message->bytes = recvmsg(socket, &header, flags | MSG_CMSG_CLOEXEC);
    if (message->bytes < 0) {
        return;
    }
    take_descriptors(header, message);
    message->lost_descriptors = (header.msg_flags & MSG_CTRUNC) != 0;
    if ((header.msg_flags & MSG_TRUNC) != 0) {
        message->bytes = 0;
    }
}

int send_message(int socket, const iovec* parts, size_t part_count, const int* descriptors,
                 size_t descriptor_count, int flags) {
    msghdr header = {};
    header.msg_iov = const_cast<iovec*>(parts);
    header.msg_iovlen = part_count;
    alignas(cmsghdr) char control[kControlBytes];
    if (descriptor_count > 0) {
        const size_t bytes = descriptor_count * sizeof(int);
        memset(control, 0, sizeof control);
        header.msg_control = control;
        header.msg_controllen = CMSG_SPACE(bytes);
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(bytes);
        memcpy(CMSG_DATA(part), descriptors, bytes);
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

void set_receive_timeout(int socket, int timeout_ms) {
    timeval timeout = {};
    timeout.tv_sec = timeout_ms / 1000;
    timeout.tv_usec = timeout_ms % 1000 * 1000;
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
}

}  // namespace corvex_binder
