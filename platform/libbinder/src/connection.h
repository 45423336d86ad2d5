// One connection: a process that uses a service, and the process that offers it.
//
// Its parts each have their own file and lock: the control socket, the table of objects, the
// channels of our calls, the threads that serve the other side's calls, and what one-way calls are
// under way. This class ties them together, and ends them together.
//
// Threads: the control socket is read, and the end is noticed, on the loop's thread; everything
// else may be called from any thread. References are dropped without any lock, and never on the
// loop's thread. Lock order: the table of objects, then the others, which are leaves.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include "call_channels.h"
#include "control_socket.h"
#include "executor.h"
#include "io_loop.h"
#include "object_table.h"
#include "peer.h"
#include "served_channels.h"
#include "unique_fd.h"

namespace corvex_binder {

class outgoing_parcel;

// The first message in both directions.
hello_message make_hello(android::status_t status);

class connection : public endpoint, public std::enable_shared_from_this<connection> {
  public:
    // To a service that has said hello.
    connection(unique_fd&& socket, const std::shared_ptr<peer>& other);
    // From somebody, who has to say hello first, to a service of ours.
    connection(unique_fd&& socket, const std::shared_ptr<peer>& other,
               const android::sp<android::IBinder>& service);
    ~connection() override;

    // Starts to serve it; false when there is no room.
    bool open();

    peer& other() const { return *other_; }

    // The other side's service; null where the connection has ended.
    android::sp<android::IBinder> service();

    // Calls an object of the other process and, unless it is one-way, waits for the reply.
    android::status_t call(uint64_t target, std::atomic<uint64_t>& times_named, uint32_t code,
                           const android::Parcel& data, android::Parcel* reply, uint32_t flags);

    // Of a proxy of ours, as it goes.
    void release_proxy(const android::BpBinder* proxy);

    // Ends a connection of ours on which nothing is left.
    void close_if_idle();

    // The other side does not keep to the protocol.
    void end_for(const char* why);

    // endpoint
    int fd() const override { return control_.fd(); }
    void on_events(uint32_t events) override;
    void on_tick() override;

  private:
    friend class served_channels;

    // Sending: outgoing_call.cpp.
    enum class reply_state { answered, late, none, interrupted, ended, refused };
    android::status_t call_oneway(const call_message& call, outgoing_parcel& parcel);
    android::status_t call_and_wait(call_message& call, outgoing_parcel& parcel,
                                    android::Parcel* reply);
    reply_state wait_for_reply(call_channel& channel, android::Parcel* reply, int timeout_ms,
                               call_channels::deadline until, android::status_t* status);
    reply_state receive_reply(call_channel& channel, int flags, android::Parcel* reply,
                              android::status_t* status);
    android::status_t note_silence(uint32_t code, int waited_ms);
    android::status_t note_end(bool is_refused);
    bool tell(control_socket::result result);

    // Receiving, on the loop's thread: connection_receive.cpp. False ends the connection.
    void read_control();
    bool receive(received_message& message, const uint8_t* bytes, size_t size);
    bool receive_hello(const uint8_t* bytes, size_t size);
    bool receive_oneway(received_message& message, const uint8_t* bytes, size_t size);
    bool receive_oneway_done(const uint8_t* bytes, size_t size);
    bool receive_release(const uint8_t* bytes, size_t size);
    bool receive_channel(received_message& message, size_t size);
    void finish();

    void close_later(std::vector<unique_fd>&& descriptors);

    // Destroys something that has come from the other side, or was kept for it.
    template <typename Object>
    void release_later(Object&& object) {
        executor::get().release_later(this, other_, std::forward<Object>(object));
    }

    const std::shared_ptr<peer> other_;
    const bool by_us_;
    bool is_greeted_;  // loop's thread

    control_socket control_;
    object_table objects_;
    call_channels channels_;
    served_channels served_;
    // The cost of our one-way calls that the other side has not served yet.
    std::atomic<uint64_t> oneway_cost_{0};
};

// The service that a process offers at this name in the folder. NAME_NOT_FOUND where there is none,
// at once; TIMED_OUT, with a line in the log, where one is there and does not say hello in the time
// that a call may take. service_connections.cpp
android::status_t connect_service(int directory, const std::string& name,
                                  android::sp<android::IBinder>* service);

}  // namespace corvex_binder
