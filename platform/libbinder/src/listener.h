// The socket of one service: accepts the other processes.
#pragma once

#include <memory>
#include <string>

#include <binder/IBinder.h>

#include "log.h"
#include "guarded.h"
#include "io_loop.h"
#include "socket_directory.h"
#include "unique_fd.h"

namespace corvex_binder {

class listener : public endpoint, public std::enable_shared_from_this<listener> {
  public:
    // Takes the name in the folder of services. Null, with the status, where that cannot be.
    static std::shared_ptr<listener> make(const std::string& file,
                                          const android::sp<android::IBinder>& service,
                                          android::status_t* status);

    listener(unique_fd&& directory, std::string file,
             const android::sp<android::IBinder>& service);

    // Accepts from now on; false when there is no room. Until stopped, it keeps itself and the
    // service. stop() answers the latter, whose last reference that may be.
    bool start();
    android::sp<android::IBinder> stop();
    android::sp<android::IBinder> service();

    // Whether another one has the name now.
    bool is_replaced() const;
    // Gives the name back, if it is still ours.
    void remove_file() const;

    // endpoint
    int fd() const override { return socket_.get(); }
    void on_events(uint32_t events) override;
    void on_tick() override;

  private:
    void accept_one(unique_fd&& socket);
    void pause(const char* why);

    const unique_fd directory_;
    const std::string file_;
    unique_fd socket_;
    socket_identity identity_;
    bool is_paused_ = false;        // loop's thread
    bool has_complained_ = false;   // loop's thread
    complaints strangers_{};

    guard_mutex mutex_;
    android::sp<android::IBinder> service_ BINDER_GUARDED_BY(mutex_);
};

}  // namespace corvex_binder
