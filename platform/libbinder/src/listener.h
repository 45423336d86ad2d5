// The socket of one service: accepts the other processes.
#pragma once

#include <memory>
#include <string>

#include <utils/Errors.h>

#include "io_loop.h"
#include "socket_directory.h"
#include "unique_fd.h"

namespace corvex_binder {

class listener : public endpoint, public std::enable_shared_from_this<listener> {
  public:
    // Takes the name in the folder of services. Null, with the status, where that cannot be.
    static std::shared_ptr<listener> make(const std::string& file, android::status_t* status);

    listener(unique_fd&& directory, std::string file);

    // Accepts from now on; false when there is no room. Until stopped, it keeps itself.
    bool start();
    void stop();

    // Whether the name is still this one's: not taken over by another one, nor removed.
    bool has_name() const;
    // Gives the name back, if it is still ours.
    void remove_file() const;

    // endpoint
    int fd() const override { return socket_.get(); }
    void on_events(uint32_t events) override;
    void on_tick() override;

  private:
    void pause(const char* why);

    const unique_fd directory_;
    const std::string file_;
    unique_fd socket_;
    socket_identity identity_;
    bool paused_ = false;
    bool complained_ = false;
};

}  // namespace corvex_binder
