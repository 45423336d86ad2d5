// The channels over which the other side calls: one thread for each receives a call, runs it and
// sends the reply, until the channel ends.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <binder/Parcel.h>
#include <utils/Mutex.h>

#include "message.h"
#include "peer.h"

namespace android::corvex_binder {

class connection;

// Runs a call of another process on this thread.
status_t serve_call(peer& from, IBinder& object, const call_message& call, const Parcel& data,
                    Parcel* reply);

class served_channels {
  public:
    // Serves this channel from now on. Empty, or why not: no thread can be had, or the other
    // process has enough of them; `channel` is then left alone. On the loop's thread.
    std::string serve(const std::shared_ptr<connection>& from, unique_fd& channel);

    // Ends them all; calls that run go on, without a reply.
    void end();

  private:
    struct served_channel;
    static void run(served_channel& served);
    static bool serve_one(served_channel& served, received_message& message);
    static void reply(served_channel& served, uint64_t number, status_t status);

    void add(int socket);
    void remove(int socket);

    Mutex mutex_;
    std::vector<int> sockets_ GUARDED_BY(mutex_);  // open as long as they are here
};

}  // namespace android::corvex_binder
