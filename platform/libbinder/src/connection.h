// One connection: a process that uses a service, and the process that offers it.
//
// This ties its parts together, and ends them together. The control socket is read, and the end is
// noticed, on the loop's thread; everything else may be called from any thread. References are
// dropped without any lock, and never on the loop's thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include "call_channels.h"
#include "control_socket.h"
#include "io_loop.h"
#include "object_table.h"
#include "peer.h"
#include "served_channels.h"

namespace android::corvex_binder {

class outgoing_parcel;

// The first message in both directions.
hello_message make_hello(status_t status);

class connection : public endpoint, public std::enable_shared_from_this<connection> {
  public:
    // To a service that has said hello; or from somebody, who has to say hello first, to a service
    // of ours, with its place among the connections.
    connection(unique_fd&& socket, std::shared_ptr<peer> other,
               const sp<IBinder>& service = nullptr, share place = nullptr);

    peer& other() const { return *other_; }

    // The other side's service; null where the connection has ended.
    sp<IBinder> service();

    // Calls an object of the other process and, unless it is one-way, waits for the reply.
    status_t call(BpBinder& target, uint32_t code, const Parcel& data, Parcel* reply,
                  uint32_t flags);

    // Of a proxy of ours, as it goes.
    void release_proxy(const BpBinder* proxy);

    // Ends a connection of ours on which nothing is left.
    void close_if_idle();

    // The other side does not keep to the protocol.
    void end_for(const char* why);

    // endpoint
    int fd() const override { return control_.fd(); }
    void on_input() override;
    void on_output() override;
    void on_tick() override;

  private:
    friend class served_channels;

    // Sending: outgoing_call.cpp.
    enum class reply_state { answered, again, none, ended, refused };
    status_t call_oneway(const call_message& call, outgoing_parcel& parcel);
    status_t call_and_wait(call_message& call, outgoing_parcel& parcel, Parcel* reply);
    reply_state wait_for_reply(call_channel& channel, Parcel* reply, int timeout_ms,
                               call_channels::deadline until, status_t* status);
    reply_state receive_reply(call_channel& channel, int flags, Parcel* reply, status_t* status);
    status_t note_silence(uint32_t code, int waited_ms);

    // What a call has brought. Its status, with a line in the log where that is not NO_ERROR; all
    // of it counts as received even then.
    struct incoming_call {
        sp<IBinder> target;
        share descriptors;
    };
    status_t take_call(const call_message& call, const wire_parcel& wire, received_message& message,
                       const char* what, Parcel* data, incoming_call* taken);

    // Receiving, on the loop's thread. False ends the connection.
    bool receive(received_message& message);
    bool receive_hello(const received_message& message);
    bool receive_oneway(received_message& message);
    bool receive_oneway_done(const received_message& message);
    bool receive_release(const received_message& message);
    bool receive_channel(received_message& message);
    void finish_oneway(uint64_t cost);
    void finish();

    void close_later(std::vector<unique_fd>&& descriptors);

    const std::shared_ptr<peer> other_;
    const bool by_us_;
    share place_;  // these two are the loop's thread's
    bool is_greeted_;

    control_socket control_;
    object_table objects_;
    call_channels channels_;
    served_channels served_;
    // The cost of our one-way calls that the other side has not served yet.
    std::atomic<uint64_t> oneway_cost_{0};
};

}  // namespace android::corvex_binder
