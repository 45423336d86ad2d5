#include "peers.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <vector>

#include "connection.h"
#include "log.h"
#include "socket_directory.h"

namespace corvex_binder {

namespace {

struct peer_table {
    std::mutex mutex;
    // In the order in which they came; more than one only where both sides began at once.
    std::map<process_name, std::vector<std::weak_ptr<connection>>> connections;
};

peer_table& table() {
    static auto* peers = new peer_table;
    return *peers;
}

// Says hello on a new socket and hears who is there; false where that takes too long.
bool exchange_hello(int socket, std::chrono::steady_clock::time_point deadline,
                    process_name* name) {
    const outgoing_frame ours = make_hello();
    if (send(socket, ours.bytes.data(), ours.bytes.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(ours.bytes.size())) {
        return false;
    }
    // Exactly one frame: what follows is the loop's.
    uint8_t theirs[sizeof(frame_header) + sizeof(hello_payload)];
    size_t filled = 0;
    while (filled < sizeof theirs) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable = {socket, POLLIN, 0};
        const int ready = poll(&readable, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        const ssize_t got =
            ready > 0 ? recv(socket, theirs + filled, sizeof theirs - filled, 0) : 0;
        if (got <= 0) {
            return false;
        }
        filled += static_cast<size_t>(got);
    }
    frame_header header = {};
    memcpy(&header, theirs, sizeof header);
    return header.type == kHelloFrame && header.payload_bytes == sizeof(hello_payload) &&
           read_hello(theirs + sizeof header, sizeof(hello_payload), name);
}

}  // namespace

const process_name& own_name() {
    static const process_name name = [] {
        process_name made = {};
        while (getrandom(made.data(), made.size(), 0) != static_cast<ssize_t>(made.size())) {
        }
        return made;
    }();
    return name;
}

outgoing_frame make_hello() {
    hello_payload hello = {};
    memcpy(hello.magic, kWireMagic, sizeof hello.magic);
    hello.version = kWireVersion;
    memcpy(hello.process, own_name().data(), sizeof hello.process);
    return begin_frame(kHelloFrame, &hello, sizeof hello);
}

bool read_hello(const uint8_t* payload, size_t size, process_name* name) {
    hello_payload hello = {};
    if (size != sizeof hello || !decode_fixed(payload, size, &hello, sizeof hello) ||
        memcmp(hello.magic, kWireMagic, sizeof hello.magic) != 0) {
        BINDER_LOG(ERROR, "what is at the other end of a socket is no service");
        return false;
    }
    if (hello.version != kWireVersion) {
        BINDER_LOG(ERROR,
                   "the other process speaks version %u and this one version %u: run both "
                   "from the same build",
                   hello.version, kWireVersion);
        return false;
    }
    memcpy(name->data(), hello.process, sizeof hello.process);
    return true;
}

void add_peer(const process_name& name, const std::shared_ptr<connection>& peer) {
    const std::lock_guard<std::mutex> lock(table().mutex);
    table().connections[name].push_back(peer);
}

void remove_peer(const process_name& name, const connection* peer) {
    const std::lock_guard<std::mutex> lock(table().mutex);
    const auto found = table().connections.find(name);
    if (found == table().connections.end()) {
        return;
    }
    auto& all = found->second;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [peer](const auto& one) {
                                 const auto alive = one.lock();
                                 return alive == nullptr || alive.get() == peer;
                             }),
              all.end());
    if (all.empty()) {
        table().connections.erase(found);
    }
}

std::shared_ptr<connection> connect_peer(int directory, const std::string& name, int timeout_ms,
                                         bool* is_self) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    *is_self = false;
    unique_fd socket = connect_to(directory, name, timeout_ms);
    process_name process = {};
    peer_identity peer;
    if (!socket.valid() || !identify_peer(socket.get(), &peer) ||
        !exchange_hello(socket.get(), deadline, &process)) {
        return nullptr;
    }
    if (process == own_name()) {
        *is_self = true;
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(table().mutex);
    auto& all = table().connections[process];
    for (const auto& one : all) {
        auto known = one.lock();
        if (known != nullptr && known->begin_use()) {
            return known;
        }
    }
    auto made = std::make_shared<connection>(std::move(socket), peer, process);
    all.push_back(made);
    if (!made->open()) {
        all.pop_back();
        return nullptr;
    }
    return made;
}

}  // namespace corvex_binder
