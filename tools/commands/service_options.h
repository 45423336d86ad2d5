// The options of the commands that need a player service.
#pragma once

#include <CLI/App.hpp>
#include <string>

#include "tools/device/sink_device.h"
#include "tools/service/player_service.h"

class service_options {
  public:
    // --service and --service-log, and with `plays` also --device, --pace and --timeline.
    void declare(CLI::App& app, bool plays);

    // What they come to for a run that plays `input`, empty for one that plays nothing. Options
    // that only a service of our own can follow ask for one. Looks for one that runs. Throws
    // program_error.
    struct plan {
        service_request request;
        sink_device sink;  // of a service of our own
    };
    plan make_plan(const std::string& input) const;

  private:
    bool wants_own() const;
    sink_device choose(const std::string& input) const;

    std::string service_ = "auto";
    std::string log_;
    std::string device_;
    std::string pace_;
    std::string timeline_;
};
