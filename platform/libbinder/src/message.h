// Sending and receiving one message with its descriptors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/uio.h>
#include <vector>

#include "unique_fd.h"
#include "wire.h"

namespace corvex_binder {

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
