// The player service as a child process: starts it, waits until it is ready, stops it.
//
// It runs in a process group of its own, so that Ctrl-C reaches this program only, which then stops
// it in order; and it is told to end when this program dies. One thread.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

class service_process {
  public:
    // Runs `program` with these arguments. Standard error goes to `log`, standard output to
    // `output`, both made anew. Returns once the service has printed a line with "ready" on
    // standard output; throws program_error, with nothing left running, when it does not.
    service_process(const std::string& program, const std::vector<std::string>& arguments,
                    std::filesystem::path output, std::filesystem::path log);
    ~service_process();  // stop(), whatever it says
    service_process(const service_process&) = delete;
    service_process& operator=(const service_process&) = delete;

    pid_t pid() const { return pid_; }

    // Asks it to end and waits for that, for seconds at most: then kills it. Empty when it ended
    // as it was asked to, else how it ended. A second call answers what the first did.
    std::string stop();

    // How it ended by itself; empty while it runs.
    std::string ended();

  private:
    void start(const std::string& program, const std::vector<std::string>& arguments);
    bool wait_for_end(std::chrono::milliseconds limit);
    bool is_ready() const;
    std::string how_it_ended() const;

    std::filesystem::path output_;
    std::filesystem::path log_;
    pid_t pid_ = -1;
    int status_ = 0;
    bool running_ = false;
    std::string stopped_;
};
