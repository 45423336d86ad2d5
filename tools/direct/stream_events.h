// What happens to a stream on the way, on request: pauses, flushes and jumps.
#pragma once

#include <string>
#include <vector>

enum class event_kind { pause, flush, seek };

struct stream_event {
    event_kind kind;
    double at_s;     // so many seconds of sound have been sent
    double value_s;  // pause: its length; seek: the place in the file
};

// The events of the options --pause-at S[:DUR], --flush-at S and --seek-at S:TO, in the order in
// which they happen. Throws program_error (exit_usage) for what is no time.
std::vector<stream_event> parse_events(const std::vector<std::string>& pauses,
                                       const std::vector<std::string>& flushes,
                                       const std::vector<std::string>& seeks);

// "2", "0.25"
std::string seconds_text(double seconds);

// "--seek-at 2"
std::string option_text(const stream_event& event);
