// Whether a direct stream's sound got through, and the rows that say how.
#pragma once

#include <string>
#include <vector>

#include "tools/direct/stream_pump.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/summary.h"

// Compares what was sent with what the player decoded and the stream reported. Empty when they
// agree, else what does not. `damaged_packets` of the source explain frames that are missing.
std::string compare_frames(const pump_report& report, uint64_t damaged_packets);

// The rows from "sent" on, up to "reported".
void add_frames(summary& rows, const pump_report& report, uint64_t damaged_packets,
                uint32_t rate_hz);
// `problems` are what the module has logged.
void add_notes(summary& rows, const pump_report& report, const std::vector<log_line>& problems);
