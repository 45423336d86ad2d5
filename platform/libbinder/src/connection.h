// One socket to one other process, and what both have given each other over it.
//
// Objects: what we send, we keep in `exports_` together with how often we have sent it; what we
// receive becomes a proxy, which counts how often it was received and gives that number back when
// it goes. A release that crosses another sending thus never loses the object.
//
// Threads: frames are read, and the end is noticed, on the loop's thread; everything else may be
// called from any thread. Objects are let go of on the pool's threads only, never under the lock.
// Lock order: a connection's lock, then a proxy's.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include "frame_reader.h"
#include "io_loop.h"
#include "outgoing_parcel.h"
#include "parcel_object.h"
#include "peers.h"
#include "socket_directory.h"
#include "unique_fd.h"
#include "wire.h"

namespace corvex_binder {

class connection : public endpoint, public std::enable_shared_from_this<connection> {
  public:
    // The registry of services of the other process.
    static constexpr uint64_t kRegistry = 0;

    // From us, after both have said hello; in use once.
    connection(unique_fd&& socket, const peer_identity& peer, const process_name& process);
    // From somebody, who has to say hello first.
    connection(unique_fd&& socket, const peer_identity& peer);
    ~connection() override;

    // Starts to serve it; false when there is no room.
    bool open();

    const peer_identity& peer() const { return peer_; }

    // Calls an object of the other process and, unless it is one-way, waits for the reply: at most
    // timeout_ms, 0 for ever.
    android::status_t call(uint64_t target, uint32_t code, const android::Parcel& data,
                           android::Parcel* reply, uint32_t flags, int timeout_ms);

    void send_reply(uint64_t call, uint64_t cost, android::status_t status,
                    const android::Parcel& reply);
    void send_oneway_done(uint64_t cost);
    void send_object_died(uint64_t object);

    // Of a proxy of ours, as it goes.
    void release_proxy(const android::BpBinder* proxy);

    // Keeps the connection although there is nothing on it; false where it is too late.
    bool begin_use();
    void end_use();

    // endpoint
    int fd() const override { return socket_.get(); }
    void on_events(uint32_t events) override;
    void on_tick() override;

  private:
    struct export_entry {
        android::sp<android::IBinder> object;
        uint64_t times_sent = 0;
    };
    struct pending_call {
        std::condition_variable done_or_dead;
        bool done = false;
        android::status_t status = android::DEAD_OBJECT;
        std::unique_ptr<android::Parcel> reply;
    };
    using objects_list = std::vector<parcel_object>;

    // Sending; with the lock held.
    bool is_open() const { return socket_.valid() && !closing_ && !io_loop::is_cut_off(); }
    void enqueue(outgoing_frame&& frame);
    bool write_some(outgoing_frame& frame);
    void flush();
    void stop_writing();
    void close_if_idle();
    uint64_t enqueue_with(outgoing_parcel& parcel, outgoing_frame&& frame);
    uint64_t export_object(const android::sp<android::IBinder>& object, bool* is_dead);
    void wait_for_reply(std::unique_lock<std::mutex>& lock, uint64_t id, pending_call& pending,
                        int timeout_ms);

    // Receiving; on the loop's thread, without the lock.
    void read_all();
    bool receive_frames();
    bool receive(incoming_frame& frame);
    bool receive_hello(const incoming_frame& frame);
    bool receive_call(incoming_frame& frame);
    bool receive_reply(incoming_frame& frame);
    bool receive_oneway_done(const incoming_frame& frame);
    bool receive_release(const incoming_frame& frame);
    bool receive_object_died(const incoming_frame& frame);
    std::unique_ptr<android::Parcel> take_parcel(incoming_frame& frame, size_t at);
    bool take_objects(const wire_parcel& wire, std::vector<unique_fd>& descriptors,
                      objects_list* objects);
    android::sp<android::BpBinder> proxy_of(uint64_t object);
    android::sp<android::IBinder> find_target(uint64_t target);
    void stop_waiting_for_hello();
    void finish(const char* why);

    const peer_identity peer_;
    const bool by_us_;
    bool greeted_;             // loop's thread
    int ticks_ungreeted_ = 0;  // loop's thread
    process_name process_ = {};
    frame_reader reader_;  // loop's thread

    std::mutex mutex_;
    unique_fd socket_;      // closed on the loop's thread only
    bool closing_ = false;  // nothing more is sent
    std::deque<outgoing_frame> unsent_;
    uint64_t unsent_cost_ = 0;
    uint64_t oneway_cost_ = 0;           // sent and not yet served
    uint64_t incoming_cost_ = 0;         // received and not yet served
    uint64_t incoming_oneway_cost_ = 0;  // of that, one-way
    uint64_t last_call_ = 0;
    uint64_t last_export_ = 0;
    bool is_full_ = false;  // calls are refused, and that has been said
    int uses_ = 0;
    int incoming_calls_ = 0;
    std::map<uint64_t, pending_call*> pending_;
    std::unordered_map<uint64_t, export_entry> exports_;
    std::unordered_map<android::IBinder*, uint64_t> export_names_;
    std::unordered_map<uint64_t, android::wp<android::BpBinder>> proxies_;
};

}  // namespace corvex_binder
