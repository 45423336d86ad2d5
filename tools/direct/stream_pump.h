// Feeds a direct stream from a source the way the audio server does: frames behind headers or bare,
// in writes of any size, with pauses, flushes and jumps on the way; then waits until the player has
// decoded all of it.
//
// A direct stream's write claims every byte whatever becomes of it. So success is judged by the
// position and by the module's error lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/direct/avsync_header.h"
#include "tools/direct/cut_sizes.h"
#include "tools/direct/frame_ledger.h"
#include "tools/direct/stream_events.h"
#include "tools/direct/stream_source.h"
#include "tools/module/hal_stream.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

struct pump_report {
    uint64_t source_frames = 0;  // packets or blocks
    uint64_t writes = 0;
    uint64_t bytes = 0;
    frame_ledger ledger;
    std::optional<uint64_t> presented_frames;  // the last count of either query; empty when the
    std::optional<uint32_t> rendered_frames;   // stream cannot say
    // Frames of the last packet, where the player is gone before its last count can be asked for.
    uint64_t uncounted_frames = 0;
    std::vector<std::string> notes;
    bool interrupted = false;
    std::string failure;  // why the sound did not get through; empty for success
    // The failure is the player's: each further call of it may take as long as the connection
    // waits.
    bool player_lost = false;
};

// A line that says how a stream is set up, although at error priority.
bool is_set_up_line(const log_line& line);

class stream_pump {
  public:
    struct settings {
        std::optional<avsync_framing> framing;  // none: frames go out bare
        std::vector<stream_event> events;       // in order
    };

    // Borrows everything for its own lifetime.
    stream_pump(hal_output_stream& stream, stream_source& source, const settings& how,
                cut_sizes& cuts, log_lines& log, const interrupt_guard& interrupt,
                progress_line& progress);

    // Leaves the stream in standby, unless it fails. Throws what the source throws.
    pump_report run();

  private:
    bool keep_going() const { return report_.failure.empty() && !interrupt_.requested(); }
    void enqueue(const source_frame& frame);
    void write_due(bool all);
    void write_piece(const uint8_t* data, size_t bytes);
    void run_events();
    void pause(const stream_event& event);
    void flush(const stream_event& event);
    void control(const char* name, int status);
    bool player_failed();
    uint64_t take_position();
    void show_progress(uint64_t count);
    void sleep_for(double seconds);
    void wait_for_decoder();
    void finish();

    hal_output_stream& stream_;
    stream_source& source_;
    const settings& how_;
    cut_sizes& cuts_;
    log_lines& log_;
    const interrupt_guard& interrupt_;
    progress_line& progress_;
    uint32_t rate_hz_;
    uint32_t latency_ms_;
    std::vector<uint8_t> waiting_;  // framed and not written
    size_t next_cut_;
    size_t next_event_ = 0;
    uint64_t last_packet_frames_ = 0;
    pump_report report_;
};
