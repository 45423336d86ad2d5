// The channels over which the other side calls: one thread for each receives a call, runs it and
// sends the reply, until the channel ends.
#pragma once

#include <memory>
#include <vector>

#include <binder/Parcel.h>

#include "guarded.h"
#include "message.h"
#include "unique_fd.h"

namespace corvex_binder {

class connection;

class served_channels {
  public:
    // Serves this channel from now on. False where no thread can be had, or the other process has
    // enough of them; `channel` is then left alone. On the loop's thread.
    bool serve(const std::shared_ptr<connection>& from, unique_fd& channel);

    // Ends them all; calls that run go on, without a reply.
    void end();

  private:
    struct served_channel;
    static void* run_thread(void* served);
    static void run(served_channel& served);
    static bool serve_one(served_channel& served, received_message& message);
    static void reply(served_channel& served, uint64_t number, android::status_t status);

    bool add(int socket);
    void remove(int socket);

    guard_mutex mutex_;
    bool has_ended_ BINDER_GUARDED_BY(mutex_) = false;
    std::vector<int> sockets_ BINDER_GUARDED_BY(mutex_);  // open as long as they are here
};

}  // namespace corvex_binder
