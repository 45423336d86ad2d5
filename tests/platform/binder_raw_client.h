// A client that speaks to a service's socket by itself, and need not keep to the protocol.
#pragma once

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

#include "platform/libbinder/src/message.h"

using namespace android::corvex_binder;

using bytes = std::vector<uint8_t>;

// The bytes of records and of byte strings, one after the other.
template <typename... Parts>
bytes join(const Parts&... parts) {
    bytes all;
    const auto add = [&all](const auto& part) {
        if constexpr (std::is_same_v<std::decay_t<decltype(part)>, bytes>) {
            all.insert(all.end(), part.begin(), part.end());
        } else {
            const auto* from = reinterpret_cast<const uint8_t*>(&part);
            all.insert(all.end(), from, from + sizeof part);
        }
    };
    (add(parts), ...);
    return all;
}

inline bytes hello(const char* magic = kWireMagic, uint32_t version = kWireVersion) {
    hello_message message = {kHello, version, {}, 0, 0};
    memcpy(message.magic, magic, sizeof message.magic);
    return join(message);
}

class raw_socket {
  public:
    explicit raw_socket(unique_fd&& socket) : socket_(std::move(socket)) {}
    explicit raw_socket(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    // Has said hello and got an answer.
    static raw_socket greeted(const std::string& path) {
        raw_socket made(path);
        made.send(hello());
        EXPECT_EQ(made.receive().size(), sizeof(hello_message));
        return made;
    }
    // A new channel for calls, handed over, or closed where the other end takes none.
    raw_socket make_channel() {
        unique_fd ours;
        unique_fd theirs;
        EXPECT_TRUE(make_socket_pair(&ours, &theirs));
        send(join(plain_message{kChannel, 0}), {theirs.get()});
        return raw_socket(std::move(ours));
    }

    // False where the other end has closed, or does not take more for now.
    bool send(const bytes& what, const std::vector<int>& descriptors = {}) {
        outgoing_message message(what.data(), what.size());
        message.descriptors = descriptors.data();
        message.descriptor_count = descriptors.size();
        return send_message(socket_.get(), message, MSG_DONTWAIT) == 0;
    }
    // The next message; empty where the other end has closed instead. What it said before it closed
    // comes after the error.
    bytes receive() {
        const bytes first = receive_once();
        return first.empty() && errno == ECONNRESET ? receive_once() : first;
    }
    bool is_closed() {
        while (!receive().empty()) {
        }
        return true;
    }
    int fd() const { return socket_.get(); }

  private:
    bytes receive_once() {
        pollfd readable = {socket_.get(), POLLIN, 0};
        EXPECT_EQ(poll(&readable, 1, 60000), 1) << "neither closed nor answered";
        bytes room(kMaxMessageBytes);
        const received_message message =
            receive_message(socket_.get(), room.data(), room.size(), MSG_DONTWAIT);
        errno = message.error;
        room.resize(message.size);
        return room;
    }

    unique_fd socket_;
};
