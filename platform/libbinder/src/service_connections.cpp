// The connections of this process to services of others: one for each name.

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <sys/socket.h>

#include "connection.h"
#include "guarded.h"
#include "log.h"
#include "message.h"
#include "socket_directory.h"

namespace corvex_binder {

using android::IBinder;
using android::sp;
using android::status_t;

namespace {

struct known_service {
    guard_mutex mutex;  // also while it is being connected to, so that this is done once
    socket_identity socket BINDER_GUARDED_BY(mutex);
    std::weak_ptr<connection> by BINDER_GUARDED_BY(mutex);
};

known_service& find_known(const std::string& name) {
    static auto* mutex = new guard_mutex;
    static auto* known = new std::map<std::string, std::unique_ptr<known_service>>;
    const guard_lock lock(*mutex);
    std::unique_ptr<known_service>& found = (*known)[name];
    if (found == nullptr) {
        found = std::make_unique<known_service>();
    }
    return *found;
}

// Both ends have checked that the other is of this user, or root: what a hello says does not matter
// for who somebody is.
status_t say_hello(int socket, const std::string& name) {
    const hello_message ours = make_hello(android::NO_ERROR);
    const iovec part = {const_cast<hello_message*>(&ours), sizeof ours};
    if (send_message(socket, &part, 1, nullptr, 0, 0) != 0) {
        return android::NAME_NOT_FOUND;  // it was just going
    }
    uint8_t room[sizeof(hello_message)];
    received_message message;
    // One that refuses us may have closed its end already; what it said comes after that error.
    for (int resets = 0;;) {
        receive_message(socket, room, sizeof room, 0, &message);
        if (message.bytes >= 0 || (errno != EINTR && (errno != ECONNRESET || resets++ > 0))) {
            break;
        }
    }
    if (message.bytes < 0) {
        return errno == EAGAIN ? android::TIMED_OUT : android::NAME_NOT_FOUND;
    }
    hello_message theirs = {};
    if (message.bytes == 0) {
        return android::NAME_NOT_FOUND;
    }
    const bool is_hello =
        decode_fixed(room, static_cast<size_t>(message.bytes), &theirs, sizeof theirs) &&
        theirs.type == kHello && memcmp(theirs.magic, kWireMagic, sizeof theirs.magic) == 0;
    const char* fault = nullptr;
    if (!is_hello) {
        fault = "what is there is no service: remove it";
    } else if (theirs.version != kWireVersion) {
        fault = "it speaks another version: run both processes from the same build";
    } else if (theirs.status != android::NO_ERROR) {
        fault = "it has no room for another connection of this process";
    }
    if (fault != nullptr) {
        BINDER_LOG(ERROR, "the service '%s' is not used: %s", name.c_str(), fault);
        return android::FAILED_TRANSACTION;
    }
    return android::NO_ERROR;
}

status_t connect_new(int directory, const std::string& name, std::shared_ptr<connection>* made) {
    unique_fd socket;
    peer_identity identity;
    status_t status = connect_to(directory, name, call_timeout_ms(), &socket, &identity);
    std::shared_ptr<peer> other;
    if (status == android::NO_ERROR) {
        other = peer::of(identity);
        set_receive_timeout(socket.get(), patience_ms(*other));
        status = say_hello(socket.get(), name);
        other->is_silent = status == android::TIMED_OUT;
    }
    if (status == android::TIMED_OUT) {
        BINDER_LOG(ERROR,
                   "the service '%s' is there and does not answer; is its process stopped, or "
                   "does it hang?",
                   name.c_str());
    }
    if (status != android::NO_ERROR) {
        return status;
    }
    make_room_for_messages(socket.get());
    *made = std::make_shared<connection>(std::move(socket), other);
    return (*made)->open() ? android::NO_ERROR : android::NO_MEMORY;
}

}  // namespace

status_t connect_service(int directory, const std::string& name, sp<IBinder>* service) {
    // First of all: another thread may have held a lock when this process was forked.
    if (io_loop::get() == nullptr) {
        return android::NO_INIT;
    }
    known_service& known = find_known(name);
    std::shared_ptr<connection> by;  // goes after the lock
    const guard_lock lock(known.mutex);
    socket_identity now;
    if (!identify(directory, name, &now)) {
        return android::NAME_NOT_FOUND;
    }
    by = known.by.lock();
    if (by != nullptr && known.socket == now) {
        *service = by->service();
        if (*service != nullptr && (*service)->isBinderAlive()) {
            return android::NO_ERROR;
        }
        *service = nullptr;
    }
    const status_t status = connect_new(directory, name, &by);
    if (status == android::NO_ERROR) {
        known.by = by;
        known.socket = now;
        *service = by->service();
    }
    return status;
}

}  // namespace corvex_binder
