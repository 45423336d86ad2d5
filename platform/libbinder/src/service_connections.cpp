// The connections of this process to services of others: one for each name.

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <sys/socket.h>

#include "connection.h"
#include "log.h"
#include "services.h"
#include "socket_directory.h"

namespace android::corvex_binder {

namespace {

struct known_service {
    Mutex mutex;  // also while it is being connected to, so that this is done once
    socket_identity socket GUARDED_BY(mutex);
    std::weak_ptr<connection> by GUARDED_BY(mutex);
};

known_service& find_known(const std::string& name) {
    static auto* mutex = new Mutex;
    static auto* known = new std::map<std::string, known_service>;
    const Mutex::Autolock lock(*mutex);
    return (*known)[name];
}

// Both ends have checked that the other is of this user, or root: what a hello says does not matter
// for who somebody is.
status_t say_hello(int socket, const std::string& name) {
    if (send_message(socket, make_hello(NO_ERROR), 0) != 0) {
        return NAME_NOT_FOUND;  // it was just going
    }
    uint8_t room[sizeof(hello_message)];
    received_message message = receive_message(socket, room, sizeof room, 0);
    // One that refuses us may have closed its end already; what it said comes after that error.
    for (int resets = 0; message.error == EINTR || (message.error == ECONNRESET && resets++ < 1);) {
        message = receive_message(socket, room, sizeof room, 0);
    }
    if (message.size == 0) {
        return message.error == EAGAIN ? TIMED_OUT : NAME_NOT_FOUND;
    }
    hello_message theirs = {};
    const bool is_hello = message.decode(&theirs) && theirs.type == kHello &&
                          memcmp(theirs.magic, kWireMagic, sizeof theirs.magic) == 0;
    const char* fault = nullptr;
    if (!is_hello) {
        fault = "what is there is no service: remove it";
    } else if (theirs.version != kWireVersion) {
        fault = "it speaks another version: run both processes from the same build";
    } else if (theirs.status != NO_ERROR) {
        fault = "it has no room for another connection of this process";
    }
    if (fault != nullptr) {
        BINDER_LOG(ERROR, "the service '%s' is not used: %s", name.c_str(), fault);
        return FAILED_TRANSACTION;
    }
    return NO_ERROR;
}

status_t connect_new(int directory, const std::string& name, std::shared_ptr<connection>* made) {
    unique_fd socket;
    ucred identity = {};
    status_t status = connect_to(directory, name, call_timeout_ms(), &socket, &identity);
    std::shared_ptr<peer> other;
    if (status == NO_ERROR) {
        other = peer::of(identity);
        set_timeout(socket.get(), SO_RCVTIMEO, patience_ms(*other));
        status = say_hello(socket.get(), name);
        other->is_silent = status == TIMED_OUT;
    }
    if (status == TIMED_OUT) {
        BINDER_LOG(ERROR,
                   "the service '%s' is there and does not answer; is its process stopped, or "
                   "does it hang?",
                   name.c_str());
    }
    if (status != NO_ERROR) {
        return status;
    }
    make_room_for_messages(socket.get());
    *made = std::make_shared<connection>(std::move(socket), other);
    return io_loop::get()->add(*made) ? NO_ERROR : NO_MEMORY;
}

}  // namespace

status_t connect_service(int directory, const std::string& name, sp<IBinder>* service) {
    // First of all: another thread may have held a lock when this process was forked.
    if (io_loop::get() == nullptr) {
        return NO_INIT;
    }
    known_service& known = find_known(name);
    std::shared_ptr<connection> by;  // goes after the lock
    const Mutex::Autolock lock(known.mutex);
    socket_identity now;
    if (!identify(directory, name, &now)) {
        return NAME_NOT_FOUND;
    }
    by = known.by.lock();
    if (by != nullptr && known.socket == now) {
        *service = by->service();
        if (*service != nullptr && (*service)->isBinderAlive()) {
            return NO_ERROR;
        }
        *service = nullptr;
    }
    const status_t status = connect_new(directory, name, &by);
    if (status == NO_ERROR) {
        known.by = by;
        known.socket = now;
        *service = by->service();
    }
    return status;
}

}  // namespace android::corvex_binder
