// Plays a source through an output stream and finds out whether anyone could hear it.
//
// The module takes data at the pace of playing even when it could not open the card: it claims
// every byte. So success is judged by the presentation position and by the module's error lines,
// not by what write() returns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/media/pcm_source.h"
#include "tools/module/hal_stream.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

struct playback_report {
    uint64_t frames_written = 0;
    uint64_t writes = 0;
    size_t write_bytes = 0;                    // size of a full write
    std::optional<uint64_t> presented_frames;  // empty when the stream cannot say
    unsigned position_losses = 0;              // times that it fell back before the end
    bool interrupted = false;
    std::string failure;  // why nobody heard it, or not all of it; empty for success
};

class playback {
  public:
    // Borrows everything for its own lifetime. `sink_keeps_all` is true for a sink that keeps
    // every frame, such as a file: no silence may follow the sound there.
    playback(hal_output_stream& stream, pcm_source& source, log_lines& log,
             const interrupt_guard& interrupt, progress_line& progress, bool sink_keeps_all);

    // Writes all of the source and waits until it has been played or the card stands still, for a
    // second or two at most. Leaves the stream out of standby. Throws what the source throws, and
    // program_error for a stream whose answers make no sense.
    playback_report run();

  private:
    bool write_all(const char* data, size_t bytes);
    std::optional<uint64_t> take_position();
    bool presents_nothing() const;
    void play_out();
    void wait_for_end();
    void write_silence();
    void judge_end();

    hal_output_stream& stream_;
    pcm_source& source_;
    log_lines& log_;
    const interrupt_guard& interrupt_;
    progress_line& progress_;
    bool sink_keeps_all_;
    uint32_t rate_hz_;
    uint32_t latency_ms_;
    uint64_t latency_frames_;
    size_t frame_bytes_;
    size_t buffer_frames_ = 0;
    uint64_t last_position_ = 0;
    uint64_t frames_total_;
    playback_report report_;
};
