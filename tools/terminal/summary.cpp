#include "tools/terminal/summary.h"

#include <cstdio>

#include "tools/terminal/number_text.h"
#include "tools/terminal/progress.h"

void print(const summary& rows) {
    for (const summary_row& row : rows) {
        std::printf("%-10s %s%s%s%s\n", row.label.c_str(), row.value.c_str(),
                    row.unit.empty() ? "" : " ", row.unit.c_str(), row.detail.c_str());
    }
}

summary_row count_row(const char* label, uint64_t count, const char* unit,
                      const std::string& detail) {
    return {label, std::to_string(count), unit, detail};
}

summary_row frames_row(const char* label, uint64_t frames, uint32_t rate_hz,
                       const std::string& detail) {
    return count_row(label, frames, "frames", " (" + clock_text(frames, rate_hz) + ")" + detail);
}

summary_row took_row(double seconds) {
    return {"took", decimal_text(seconds, 3), "s"};
}

void add_note(summary& rows, const std::string& text) {
    rows.push_back({"note", text});
}

void add_module_log(summary& rows, const std::vector<log_line>& lines) {
    for (const log_line& line : lines) {
        rows.push_back({"module log", to_text(line)});
    }
}

std::string rate_and_channels_text(uint32_t rate_hz, unsigned channels) {
    return std::to_string(rate_hz) + " Hz, " + std::to_string(channels) +
           (channels == 1 ? " channel" : " channels");
}
