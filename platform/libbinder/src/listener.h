// The socket of one service: accepts the other processes.
#pragma once

#include <memory>
#include <string>

#include <binder/IBinder.h>

#include "io_loop.h"
#include "log.h"
#include "socket_directory.h"
#include "unique_fd.h"

namespace corvex_binder {

class listener : public endpoint, public std::enable_shared_from_this<listener> {
  public:
    // Takes the name in the folder of services, and accepts from then on until the loop does not
    // keep it any more. Null, with the status, where that cannot be.
    static std::shared_ptr<listener> make(const std::string& file,
                                          const android::sp<android::IBinder>& service,
                                          android::status_t* status);

    listener(unique_fd&& directory, std::string file, const android::sp<android::IBinder>& service)
        : directory_(std::move(directory)), file_(std::move(file)), service_(service) {}

    const android::sp<android::IBinder>& service() const { return service_; }

    // Whether the name is still this one's: not taken over by another one, nor removed.
    bool has_name() const;
    // Gives the name back, if it is still ours.
    void remove_file() const;

    // endpoint
    int fd() const override { return socket_.get(); }
    void on_events(uint32_t events) override;
    void on_tick() override;

  private:
    void accept_one(unique_fd&& socket);

    const unique_fd directory_;
    const std::string file_;
    const android::sp<android::IBinder> service_;
    unique_fd socket_;
    socket_identity identity_;
    complaints strangers_{};
};

}  // namespace corvex_binder
