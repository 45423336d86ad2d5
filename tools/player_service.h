// The player service that a direct stream needs: the one that runs already, or one started for as
// long as this object lives.
//
// Make it before the module is loaded: the module looks for the service where this process's
// environment says, and gets its events on threads that this starts. One at a time in a process,
// one thread.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/service_process.h"

constexpr char service_folder_variable[] = "CORVEX_BINDER_DIR";

struct service_request {
    bool own = true;      // else the one that runs; the rest is for one of our own
    std::string program;  // empty: zuavplayerd beside this program, else in PATH
    std::vector<std::string> arguments;
    std::filesystem::path log;  // its standard error; empty: kept until it ends
};

class player_service {
  public:
    // Throws tool_error when none answers, there is no program, or it does not get ready.
    explicit player_service(const service_request& request);
    ~player_service();
    player_service(const player_service&) = delete;
    player_service& operator=(const player_service&) = delete;

    bool is_own() const { return process_ != nullptr; }
    // "the player service that runs already", "a player service of its own (process 12)"
    std::string text() const;

    // Why one of our own no longer runs; empty when it does.
    std::string ended();

    // Ends one of our own, after which all that it writes is complete. Empty, or what went wrong.
    std::string stop();

  private:
    void start(const service_request& request);

    std::filesystem::path folder_;             // private, of our own; empty until made
    std::optional<std::string> found_folder_;  // the variable's value before ours
    std::unique_ptr<service_process> process_;
};
