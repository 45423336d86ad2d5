// What a command tells about its run: rows, which are kept apart from how they are printed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/terminal/log_lines.h"

struct summary_row {
    std::string label;        // its value stands in the 12th column, or behind a longer label
    std::string value;        // a decimal number where it has a unit, else a text
    std::string unit = {};    // "frames", "s"; empty for a text
    std::string detail = {};  // follows right behind: ", as far as the module counts them"
};
using summary = std::vector<summary_row>;

// A line for each row, on standard output.
void print(const summary& rows);

summary_row count_row(const char* label, uint64_t count, const char* unit,
                      const std::string& detail = "");
// "decoded    48000 frames (0:01.000)", then the detail.
summary_row frames_row(const char* label, uint64_t frames, uint32_t rate_hz,
                       const std::string& detail = "");
summary_row took_row(double seconds);
void add_note(summary& rows, const std::string& text);
// A row for each line.
void add_module_log(summary& rows, const std::vector<log_line>& lines);

// "48000 Hz, 1 channel"
std::string rate_and_channels_text(uint32_t rate_hz, unsigned channels);
