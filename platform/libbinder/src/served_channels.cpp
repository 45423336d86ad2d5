#include "served_channels.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <pthread.h>
#include <sys/socket.h>

#include "calling_identity.h"
#include "carried_parcel.h"
#include "connection.h"
#include "log.h"

namespace corvex_binder {

using android::status_t;

// Its thread's own. The parcels are kept from call to call.
struct served_channels::served_channel {
    std::shared_ptr<connection> from;
    unique_fd socket;
    std::unique_ptr<uint8_t[]> room;
    android::Parcel data;
    android::Parcel reply;
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

bool served_channels::serve(const std::shared_ptr<connection>& from, unique_fd& channel) {
    peer& other = from->other();
    if (!other.take(resource::serving_threads, 1)) {
        complain(other.lines, complaint::channel_refused,
                 "calls of process %d are refused: it has too many at once", other.identity.pid);
        return false;
    }
    auto served = std::make_unique<served_channel>();
    served->room.reset(new (std::nothrow) uint8_t[kMaxMessageBytes]);
    served->from = from;
    served->socket = std::move(channel);
    int error = served->room != nullptr ? 0 : ENOMEM;
    if (error == 0) {
        error = add(served->socket.get()) ? start_thread(run_thread, served.get(), false)
                                          : ECONNABORTED;
    }
    if (error != 0) {
        remove(served->socket.get());
        channel = std::move(served->socket);
        other.give_back(resource::serving_threads, 1);
        complain(other.lines, complaint::channel_refused,
                 "calls of process %d are refused: no thread for them: %s", other.identity.pid,
                 strerror(error));
        return false;
    }
    static_cast<void>(served.release());
    return true;
}

bool served_channels::add(int socket) {
    const guard_lock lock(mutex_);
    if (!has_ended_) {
        sockets_.push_back(socket);
    }
    return !has_ended_;
}

void served_channels::remove(int socket) {
    const guard_lock lock(mutex_);
    sockets_.erase(std::remove(sockets_.begin(), sockets_.end(), socket), sockets_.end());
}

void served_channels::end() {
    const guard_lock lock(mutex_);
    has_ended_ = true;
    for (const int socket : sockets_) {
        shutdown(socket, SHUT_RDWR);
    }
}

void* served_channels::run_thread(void* served) {
    pthread_setname_np(pthread_self(), "binder-call");
    const std::unique_ptr<served_channel> mine(static_cast<served_channel*>(served));
    run(*mine);
    const std::shared_ptr<connection> from = mine->from;
    from->served_.remove(mine->socket.get());
    mine->socket.reset();
    from->other().give_back(resource::serving_threads, 1);
    return nullptr;
}

void served_channels::run(served_channel& served) {
    if (!is_channel(served.socket.get())) {
        served.from->end_for("it passed something else than a socket for its calls");
        return;
    }
    make_room_for_messages(served.socket.get());
    for (;;) {
        received_message message;
        receive_message(served.socket.get(), served.room.get(), kMaxMessageBytes, 0, &message);
        if (message.bytes < 0 && errno == EINTR) {
            continue;
        }
        // Nobody but the other side can have made this socket one that does not wait.
        if (message.bytes <= 0) {
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
    const auto size = static_cast<size_t>(message.bytes);
    call_message call = {};
    if (!decode_fixed(served.room.get(), size, &call, sizeof call) || call.type != kCall ||
        call.number == 0 || (call.flags & android::IBinder::FLAG_ONEWAY) != 0) {
        return false;
    }
    peer& other = served.from->other();
    const size_t descriptors = message.descriptors.size();
    const bool has_room = descriptors == 0 || other.take(resource::descriptors, descriptors);
    status_t status =
        take_parcel(served.from, served.from->objects_, call.parcel,
                    served.room.get() + sizeof call, size - sizeof call, message, &served.data);
    android::sp<android::IBinder> target = served.from->objects_.find(call.target);
    if (!has_room) {
        status = android::FAILED_TRANSACTION;
    }
    if (status != android::NO_ERROR) {
        note_refusal(other, "call", status);
    } else if (target == nullptr) {
        note_refusal(other, "call", android::NAME_NOT_FOUND);
        status = android::BAD_VALUE;
    } else {
        warn_without_pool();
        const calling_identity caller(other);
        status = target->transact(call.code, served.data, &served.reply, call.flags);
    }
    reply(served, call.number, status);
    served.reply.freeData();
    served.data.freeData();
    if (has_room && descriptors > 0) {
        other.give_back(resource::descriptors, descriptors);
    }
    target.clear();
    served.from->close_if_idle();
    return true;
}

// Waits while the other side does not take its replies.
void served_channels::reply(served_channel& served, uint64_t number, status_t status) {
    // As on a device, what is no error is no status either.
    status = status < 0 ? status : android::NO_ERROR;
    if (status == android::NO_ERROR) {
        outgoing_parcel parcel(served.reply, *served.from, served.from->objects_);
        status = parcel.status();
        if (status == android::NO_ERROR) {
            const reply_message fixed = {kReply, 0, number, parcel.header()};
            const int error = parcel.send(served.socket.get(), &fixed, sizeof fixed, 0);
            if (error == 0) {
                parcel.sent();
                return;
            }
            status = android::FAILED_TRANSACTION;
        }
    }
    const reply_message fixed = {kReply, status, number, {0, 0}};
    const iovec part = {const_cast<reply_message*>(&fixed), sizeof fixed};
    send_message(served.socket.get(), &part, 1, nullptr, 0, 0);
}

}  // namespace corvex_binder
