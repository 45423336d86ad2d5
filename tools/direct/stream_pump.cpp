#include "tools/direct/stream_pump.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds poll_every(5);
// A player whose count has not moved for the latency and this long has decoded all that it will.
constexpr milliseconds standstill(1500);
// For the last packet alone.
constexpr milliseconds last_packet(300);

// Error lines of the module which say that the player does not get the data.
struct fatal_line {
    const char* part;
    const char* meaning;
};
constexpr std::array<fatal_line, 4> fatal_lines = {{
    {"failed (0xffffffe0)", "the player service has gone"},
    {"hdo_open failed", "the module could not set the player up"},
    {"ZUAVPLAYER_GetBuf failed", "the player takes no more data"},
    {"ZUAVPLAYER_PutBufEx failed", "the player did not take the data"},
}};

}  // namespace

bool is_set_up_line(const log_line& line) {
    return line.text.rfind("u32AdecType (", 0) == 0;
}

stream_pump::stream_pump(hal_output_stream& stream, stream_source& source, const settings& how,
                         cut_sizes& cuts, log_lines& log, const interrupt_guard& interrupt,
                         progress_line& progress)
    : stream_(stream),
      source_(source),
      how_(how),
      cuts_(cuts),
      log_(log),
      interrupt_(interrupt),
      progress_(progress),
      rate_hz_(source.rate_hz()),
      latency_ms_(stream.latency_ms()),
      next_cut_(cuts.next()) {}

pump_report stream_pump::run() {
    source_frame frame;
    run_events();
    while (keep_going() && source_.next(frame)) {
        enqueue(frame);
        write_due(false);
        run_events();
    }
    write_due(true);
    if (keep_going()) {
        wait_for_decoder();
    }
    if (report_.failure.empty()) {
        finish();
    }
    for (; keep_going() && next_event_ < how_.events.size(); ++next_event_) {
        report_.notes.push_back(option_text(how_.events[next_event_]) +
                                " did not happen: the sound ended before");
    }
    report_.interrupted = report_.failure.empty() && interrupt_.requested();
    return report_;
}

void stream_pump::enqueue(const source_frame& frame) {
    if (how_.framing) {
        append_avsync_header(waiting_, *how_.framing, static_cast<uint32_t>(frame.bytes.size()),
                             frame.pts_ns);
    }
    waiting_.insert(waiting_.end(), frame.bytes.begin(), frame.bytes.end());
    ++report_.source_frames;
    report_.ledger.send(frame.frames);
    last_packet_frames_ = frame.frames;
}

void stream_pump::write_due(bool all) {
    size_t done = 0;
    while (keep_going() && done < waiting_.size()) {
        const size_t left = waiting_.size() - done;
        if (left < next_cut_ && !all) {
            break;
        }
        const size_t bytes = std::min(left, next_cut_);
        write_piece(waiting_.data() + done, bytes);
        done += bytes;
        next_cut_ = cuts_.next();
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<ptrdiff_t>(done));
}

void stream_pump::write_piece(const uint8_t* data, size_t bytes) {
    const ssize_t result = stream_.write(data, bytes);
    if (player_failed()) {
        return;
    }
    if (result < 0 || static_cast<size_t>(result) != bytes) {
        report_.failure = "the module's write answered " + status_text(static_cast<int>(result)) +
                          " for " + std::to_string(bytes) + " bytes; see its log with -v";
        return;
    }
    ++report_.writes;
    report_.bytes += bytes;
    show_progress(take_position());
}

void stream_pump::show_progress(uint64_t count) {
    const auto expected = static_cast<uint64_t>(source_.duration_s().value_or(0) * rate_hz_);
    progress_.show(report_.ledger.decoded(count), std::max(expected, report_.ledger.sent()),
                   rate_hz_, latency_ms_);
}

// True when the module has logged that data does not reach the player. The first error line says
// most about the cause.
bool stream_pump::player_failed() {
    const std::vector<log_line> problems = log_.problems();
    for (const fatal_line& fatal : fatal_lines) {
        const auto found = std::find_if(
            problems.begin(), problems.end(),
            [&](const log_line& line) { return line.text.find(fatal.part) != std::string::npos; });
        if (found == problems.end()) {
            continue;
        }
        const auto cause = std::find_if_not(problems.begin(), found, is_set_up_line);
        report_.player_lost = true;
        report_.failure = std::string(fatal.meaning) + ": " + cause->text +
                          "; see the module's log with -v and the service's with --service-log";
        return true;
    }
    return false;
}

uint64_t stream_pump::take_position() {
    report_.presented_frames = stream_.presented_frames();
    report_.rendered_frames = stream_.rendered_frames();
    return report_.presented_frames.value_or(0);
}

void stream_pump::run_events() {
    // There is no player to pause or to flush ahead of the first write.
    const auto due = [this](const stream_event& event) {
        return (report_.writes > 0 || event.kind == event_kind::seek) &&
               static_cast<double>(report_.ledger.sent()) >= event.at_s * rate_hz_;
    };
    for (; keep_going() && next_event_ < how_.events.size() && due(how_.events[next_event_]);
         ++next_event_) {
        const stream_event& event = how_.events[next_event_];
        switch (event.kind) {
            case event_kind::pause:
                pause(event);
                break;
            case event_kind::seek:
                source_.seek(event.value_s);
                flush(event);
                break;
            case event_kind::flush:
                flush(event);
                break;
        }
    }
}

void stream_pump::control(const char* name, int status) {
    if (status != 0 && report_.failure.empty()) {
        report_.failure = "the stream's " + std::string(name) + " answered " + status_text(status) +
                          "; see the module's log with -v";
    }
}

void stream_pump::pause(const stream_event& event) {
    control("pause", stream_.pause());
    const uint64_t before = take_position();
    sleep_for(event.value_s);
    const uint64_t after = take_position();
    control("resume", stream_.resume());
    report_.notes.push_back("paused after " + clock_text(report_.ledger.sent(), rate_hz_) +
                            " sent, the position moved from " + std::to_string(before) + " to " +
                            std::to_string(after) + " frames");
}

// As the audio server does it: a stream is flushed while it is paused, and what was not written yet
// is dropped with what was.
void stream_pump::flush(const stream_event& event) {
    waiting_.clear();
    if (report_.writes == 0) {
        report_.ledger.flush(0, 0);
    } else {
        control("pause", stream_.pause());
        const uint64_t before = take_position();
        control("flush", stream_.flush());
        report_.ledger.flush(before, take_position());
    }
    std::string note = "flushed after " + clock_text(report_.ledger.sent(), rate_hz_) + " sent";
    if (event.kind == event_kind::seek) {
        note += ", went on at " + seconds_text(event.value_s) + " s of the file";
    }
    report_.notes.push_back(note);
}

void stream_pump::sleep_for(double seconds) {
    const auto end = steady_clock::now() + duration<double>(seconds);
    while (!interrupt_.requested() && steady_clock::now() < end) {
        std::this_thread::sleep_for(poll_every);
    }
}

// The stream cannot say that it has played all of it, so the count of decoded frames has to. A
// decoder may need to see what follows the last packet, which is the stream's end.
void stream_pump::wait_for_decoder() {
    uint64_t highest = take_position();
    auto last_move = steady_clock::now();
    const auto patience = [&] {
        const int64_t missing = report_.ledger.missing(highest);
        return missing <= static_cast<int64_t>(last_packet_frames_)
                   ? last_packet
                   : standstill + milliseconds(std::min(latency_ms_, 10'000U));
    };
    while (keep_going() && report_.presented_frames && report_.ledger.missing(highest) > 0 &&
           steady_clock::now() - last_move < patience()) {
        std::this_thread::sleep_for(poll_every);
        const uint64_t count = take_position();
        if (count != highest) {
            highest = count;
            last_move = steady_clock::now();
        }
        show_progress(count);
    }
}

// Standby stops the player, which gives out what the decoder still held. Only a player that
// outlives the stream can be asked for its count then.
void stream_pump::finish() {
    const std::optional<uint64_t> before = report_.presented_frames;
    const std::optional<uint32_t> rendered_before = report_.rendered_frames;
    control("standby", stream_.standby());
    if (!before || take_position() >= *before) {
        return;
    }
    report_.presented_frames = before;
    report_.rendered_frames = rendered_before;
    if (!interrupt_.requested() && source_.format() != AUDIO_FORMAT_PCM_16_BIT) {
        report_.uncounted_frames = last_packet_frames_;
    }
}
