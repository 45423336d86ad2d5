#include "served_channels.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <sys/socket.h>

#include "carried_parcel.h"
#include "connection.h"
#include "executor.h"

namespace android::corvex_binder {

// Its thread's own. The parcels are kept from call to call.
struct served_channels::served_channel {
    std::shared_ptr<connection> from;
    share thread;
    unique_fd socket;
    std::unique_ptr<uint8_t[]> room;
    Parcel data;
    Parcel reply;
};

namespace {

// What another process has passed to us can be anything.
bool is_channel(int socket) {
    int domain = 0;
    int type = 0;
    socklen_t size = sizeof domain;
    return getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX &&
           getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET;
}

}  // namespace

std::string served_channels::serve(const std::shared_ptr<connection>& from, unique_fd& channel) {
    auto served = std::make_unique<served_channel>();
    served->from = from;
    served->thread = from->other().take(resource::serving_threads, 1);
    if (served->thread == nullptr) {
        return "it has too many at once";
    }
    served->room.reset(new (std::nothrow) uint8_t[kMaxMessageBytes]);
    served->socket = std::move(channel);
    add(served->socket.get());
    int error = ENOMEM;
    if (served->room != nullptr) {
        error = start_thread("binder-call", false, [mine = served.get()] {
            const std::unique_ptr<served_channel> owned(mine);
            run(*owned);
            owned->from->served_.remove(owned->socket.get());
        });
    }
    if (error != 0) {
        remove(served->socket.get());
        channel = std::move(served->socket);
        return std::string("no thread for them: ") + strerror(error);
    }
    static_cast<void>(served.release());
    return {};
}

void served_channels::add(int socket) {
    const Mutex::Autolock lock(mutex_);
    sockets_.push_back(socket);
}

void served_channels::remove(int socket) {
    const Mutex::Autolock lock(mutex_);
    sockets_.erase(std::remove(sockets_.begin(), sockets_.end(), socket), sockets_.end());
}

void served_channels::end() {
    const Mutex::Autolock lock(mutex_);
    for (const int socket : sockets_) {
        shutdown(socket, SHUT_RDWR);
    }
}

void served_channels::run(served_channel& served) {
    if (!is_channel(served.socket.get())) {
        served.from->end_for("it passed something else than a socket for its calls");
        return;
    }
    make_room_for_messages(served.socket.get());
    for (;;) {
        received_message message =
            receive_message(served.socket.get(), served.room.get(), kMaxMessageBytes, 0);
        if (message.error == EINTR) {
            continue;
        }
        // Nobody but the other side can have made this socket one that does not wait.
        if (message.size == 0) {
            return;
        }
        if (!serve_one(served, message)) {
            served.from->end_for("a call of it is malformed");
            return;
        }
    }
}

// False where the bytes are no call.
bool served_channels::serve_one(served_channel& served, received_message& message) {
    call_message call = {};
    if (!message.decode(&call) || call.type != kCall || call.number == 0 ||
        (call.flags & IBinder::FLAG_ONEWAY) != 0) {
        return false;
    }
    connection& from = *served.from;
    connection::incoming_call taken;
    status_t status = from.take_call(call, decode_parcel(call.parcel, message, sizeof call),
                                     message, "call", &served.data, &taken);
    if (status == NO_ERROR) {
        status = serve_call(from.other(), *taken.target, call, served.data, &served.reply);
    } else if (status == NAME_NOT_FOUND) {
        status = BAD_VALUE;
    }
    reply(served, call.number, status);
    served.reply.freeData();
    served.data.freeData();
    taken = {};
    from.close_if_idle();
    return true;
}

// Waits while the other side does not take its replies.
void served_channels::reply(served_channel& served, uint64_t number, status_t status) {
    const int socket = served.socket.get();
    // As on a device, what is no error is no status either.
    status = status < 0 ? status : NO_ERROR;
    if (status == NO_ERROR) {
        outgoing_parcel parcel(served.reply, *served.from, served.from->objects_);
        status = parcel.status();
        if (status == NO_ERROR) {
            const reply_message fixed = {kReply, 0, number, parcel.header()};
            parcel.is_sent = send_message(socket, parcel.behind(outgoing_message(fixed)), 0) == 0;
            if (parcel.is_sent) {
                return;
            }
            status = FAILED_TRANSACTION;
        }
    }
    send_message(socket, reply_message{kReply, status, number, {0, 0}}, 0);
}

}  // namespace android::corvex_binder
