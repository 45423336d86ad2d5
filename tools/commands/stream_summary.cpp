#include "tools/commands/stream_summary.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace {

// The most that one packet of AC-3 or E-AC-3 decodes to.
constexpr uint64_t max_packet_frames = 1536;

void print_row(const char* name, const std::string& text) {
    std::printf("%-10s %s\n", name, text.c_str());
}

std::string frames_text(uint64_t frames, uint32_t rate_hz) {
    return std::to_string(frames) + " frames (" + clock_text(frames, rate_hz) + ")";
}

}  // namespace

std::string compare_frames(const pump_report& report, uint64_t damaged_packets) {
    if (!report.presented_frames) {
        return {};
    }
    const uint64_t count = *report.presented_frames;
    const int64_t missing = report.ledger.missing(count);
    const uint64_t due = report.ledger.sent() - report.ledger.flushed();
    if (missing < 0 || report.ledger.surplus() > 0) {
        return "the player says that it decoded " + std::to_string(report.ledger.decoded(count)) +
               " frames, more than the " + std::to_string(due) +
               " that were sent and not flushed; see the service's log with --service-log";
    }
    const uint64_t explained = damaged_packets * max_packet_frames + report.uncounted_frames;
    if (static_cast<uint64_t>(missing) > explained) {
        return "the player decoded " + std::to_string(report.ledger.decoded(count)) + " of the " +
               std::to_string(due) +
               " frames that were sent and not flushed; see the service's log with --service-log";
    }
    if (report.rendered_frames && *report.rendered_frames != static_cast<uint32_t>(count)) {
        return "the stream's render position says " + std::to_string(*report.rendered_frames) +
               " frames, its presentation position " + std::to_string(count) +
               "; see the module's log with -v";
    }
    return {};
}

void print_frames(const pump_report& report, uint64_t damaged_packets, uint32_t rate_hz) {
    print_row("sent", std::to_string(report.source_frames) + " packets, " +
                          frames_text(report.ledger.sent(), rate_hz) + ", in " +
                          std::to_string(report.writes) + " writes of " +
                          std::to_string(report.bytes) + " bytes in all");
    if (report.ledger.flushed() > 0) {
        print_row("flushed", frames_text(report.ledger.flushed(), rate_hz));
    }
    if (damaged_packets > 0) {
        print_row("damaged", std::to_string(damaged_packets) + " packets of the file");
    }
    if (!report.presented_frames) {
        print_row("decoded", "unknown: the stream gives no position");
        return;
    }
    print_row("decoded", frames_text(report.ledger.decoded(*report.presented_frames), rate_hz));
    print_row("reported", "presentation position " + std::to_string(*report.presented_frames) +
                              ", render position " +
                              (report.rendered_frames ? std::to_string(*report.rendered_frames)
                                                      : std::string("unknown")));
}

void print_notes(const pump_report& report, const std::vector<log_line>& problems) {
    for (const std::string& note : report.notes) {
        print_row("note", note);
    }
    if (report.presented_frames && report.uncounted_frames > 0 &&
        report.ledger.missing(*report.presented_frames) > 0) {
        print_row("note",
                  "the decoder held the last packet until the stream closed, which ends "
                  "the count");
    }
    for (const log_line& line : problems) {
        if (!is_set_up_line(line)) {
            print_row("module log", to_text(line));
        }
    }
}
