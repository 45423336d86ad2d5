#include "tools/commands/stream_summary.h"

#include <algorithm>
#include <iterator>

namespace {

// The most that one packet of AC-3 or E-AC-3 decodes to.
constexpr uint64_t max_packet_frames = 1536;

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

void add_frames(summary& rows, const pump_report& report, uint64_t damaged_packets,
                uint32_t rate_hz) {
    const frame_ledger& ledger = report.ledger;
    const std::string sent =
        std::to_string(ledger.sent()) + " frames (" + clock_text(ledger.sent(), rate_hz) + "), in ";
    rows.push_back(count_row("sent", report.source_frames, "packets",
                             ", " + sent + std::to_string(report.writes) + " writes of " +
                                 std::to_string(report.bytes) + " bytes in all"));
    if (ledger.flushed() > 0) {
        rows.push_back(frames_row("flushed", ledger.flushed(), rate_hz));
    }
    if (damaged_packets > 0) {
        rows.push_back(count_row("damaged", damaged_packets, "packets", " of the file"));
    }
    if (!report.presented_frames) {
        rows.push_back({"decoded", "unknown: the stream gives no position"});
        return;
    }
    const uint64_t presented = *report.presented_frames;
    rows.push_back(frames_row("decoded", ledger.decoded(presented), rate_hz));
    const std::string rendered =
        report.rendered_frames ? std::to_string(*report.rendered_frames) : "unknown";
    rows.push_back({"reported", "presentation position " + std::to_string(presented) +
                                    ", render position " + rendered});
}

void add_notes(summary& rows, const pump_report& report, const std::vector<log_line>& problems) {
    for (const std::string& note : report.notes) {
        add_note(rows, note);
    }
    if (report.presented_frames && report.uncounted_frames > 0 &&
        report.ledger.missing(*report.presented_frames) > 0) {
        add_note(rows,
                 "the decoder held the last packet until the stream closed, which ends the count");
    }
    std::vector<log_line> telling;
    std::remove_copy_if(problems.begin(), problems.end(), std::back_inserter(telling),
                        is_set_up_line);
    add_module_log(rows, telling);
}
