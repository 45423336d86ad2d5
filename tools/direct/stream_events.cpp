#include "tools/direct/stream_events.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/program_error.h"
#include "tools/terminal/number_text.h"

namespace {

constexpr double max_time_s = 1e6;
constexpr double usual_pause_s = 1;

struct event_option {
    event_kind kind;
    const char* name;
    const char* form;
    bool takes_value;
    bool needs_value;
};
constexpr event_option options[] = {
    {event_kind::pause, "--pause-at", "S or S:SECONDS, for example 2:0.5", true, false},
    {event_kind::flush, "--flush-at", "S, for example 2.5", false, false},
    {event_kind::seek, "--seek-at", "S:TO, for example 2:10", true, true},
};

bool parse_time(const std::string& text, double& time_s) {
    double value = 0;
    if (!parse_number(text, value) || !(value >= 0 && value <= max_time_s)) {
        return false;
    }
    time_s = std::fabs(value);  // "-0" is 0
    return true;
}

stream_event parse_event(const event_option& option, const std::string& text) {
    stream_event event{option.kind, 0, usual_pause_s};
    const size_t colon = text.find(':');
    const bool has_value = colon != std::string::npos;
    if (!parse_time(text.substr(0, colon), event.at_s) || (has_value && !option.takes_value) ||
        (!has_value && option.needs_value) ||
        (has_value && !parse_time(text.substr(colon + 1), event.value_s))) {
        throw program_error(
            std::string(option.name) + " '" + text + "' is no time in seconds; give " + option.form,
            exit_usage);
    }
    return event;
}

}  // namespace

std::vector<stream_event> parse_events(const std::vector<std::string>& pauses,
                                       const std::vector<std::string>& flushes,
                                       const std::vector<std::string>& seeks) {
    const std::vector<std::string>* given[] = {&pauses, &flushes, &seeks};
    std::vector<stream_event> events;
    for (const event_option& option : options) {
        for (const std::string& text : *given[&option - options]) {
            events.push_back(parse_event(option, text));
        }
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const stream_event& a, const stream_event& b) { return a.at_s < b.at_s; });
    return events;
}

std::string seconds_text(double seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%g", seconds);
    return text;
}

std::string option_text(const stream_event& event) {
    const auto option =
        std::find_if(std::begin(options), std::end(options),
                     [&](const event_option& candidate) { return candidate.kind == event.kind; });
    return std::string(option->name) + " " + seconds_text(event.at_s);
}
