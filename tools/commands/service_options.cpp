#include "tools/commands/service_options.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "host/environment.h"
#include "host/program_error.h"
#include "tools/service/service_connection.h"

namespace {

constexpr char nowhere[] = "none";

// The service's own words for a sink.
std::string sink_argument(const sink_device& sink) {
    return sink.variable.empty() ? "card" : sink.variable;
}

}  // namespace

void service_options::declare(CLI::App& app, bool plays) {
    app.add_option("--service", service_,
                   "The player service:\n"
                   "  auto      the one that runs already, else one of its own\n"
                   "  own       one of its own\n"
                   "  running   the one that runs already\n"
                   "  PATH      one of its own, from this program")
        ->capture_default_str();
    app.add_option("--service-log", log_, "Keep the own service's log in this file");
    if (!plays) {
        return;
    }
    app.add_option("-d,--device", device_,
                   "Where the own service plays: auto, card, none, a path that\n"
                   "ends in .wav, or an ALSA PCM; see 'corvex-hal play --help'");
    app.add_option("--pace", pace_,
                   "How fast the own service plays to a WAV file or to none: free\n"
                   "(the usual), or real")
        ->check(CLI::IsMember({"real", "free"}));
    app.add_option("--timeline", timeline_,
                   "Have the own service write its timestamps against its sound\n"
                   "to this CSV file");
}

bool service_options::wants_own() const {
    return !log_.empty() || !device_.empty() || !pace_.empty() || !timeline_.empty();
}

service_options::plan service_options::make_plan(const std::string& input) const {
    if (service_.empty()) {
        throw program_error("--service is empty; give auto, own, running or the path of a program",
                            exit_usage);
    }
    if (service_ == "running" && wants_own()) {
        throw program_error(
            "--service running plays where that service was told to; leave out --device, "
            "--pace, --timeline and --service-log, or use --service own",
            exit_usage);
    }
    plan result;
    service_request& request = result.request;
    request.own =
        service_ != "running" && (service_ != "auto" || wants_own() || !player_service_answers());
    if (!request.own) {
        return result;
    }
    if (service_ != "auto" && service_ != "own") {
        request.program = service_;
    }
    request.log = log_;
    if (!log_.empty()) {
        request.arguments.emplace_back("--verbose");
    }
    if (!input.empty()) {
        result.sink = choose(input);
        // A card has a pace of its own; a file is wanted soon.
        request.arguments.insert(
            request.arguments.end(),
            {"--device", sink_argument(result.sink), "--pace", pace_.empty() ? "free" : pace_});
    }
    if (!timeline_.empty()) {
        request.arguments.insert(request.arguments.end(), {"--timeline", timeline_});
    }
    return result;
}

sink_device service_options::choose(const std::string& input) const {
    if (device_ == nowhere) {
        return {playback_variable, nowhere, "nowhere", {}};
    }
    return choose_sink(
        {device_.empty() ? "auto" : device_, input, environment_value(playback_variable)});
}
