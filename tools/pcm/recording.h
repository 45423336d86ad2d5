// Records an input stream into a file, and finds out whether a card was heard.
//
// The module gives data at the pace of recording even when it could not open the card: it claims
// every byte. So success is judged by the module's error lines, not by what read() returns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/sound_file.h"
#include "tools/module/hal_stream.h"
#include "tools/pcm/level_meter.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

struct recording_report {
    uint64_t frames = 0;
    uint64_t reads = 0;
    size_t read_bytes = 0;  // size of a full read
    unsigned peak = 0;      // loudest sample, 0 to 32768
    uint64_t frames_lost = 0;
    bool interrupted = false;
    std::string failure;  // why nothing more was recorded; empty for success
};

class recording {
  public:
    // Borrows everything for its own lifetime. Without a number of frames it records until someone
    // interrupts. The first frames create the WAV file, or take the place of what was in it.
    recording(hal_input_stream& stream, unsigned channels, std::string path, const log_lines& log,
              const interrupt_guard& interrupt, progress_line& progress,
              std::optional<uint64_t> frames_wanted);

    // Throws program_error when the file cannot be written, and for a stream whose answers make no
    // sense.
    recording_report run();

  private:
    bool read_all(char* data, size_t bytes);
    void store(const int16_t* samples, size_t frames);
    void show_progress();

    hal_input_stream& stream_;
    unsigned channels_;
    std::string path_;
    std::unique_ptr<wav_writer> file_;
    const log_lines& log_;
    const interrupt_guard& interrupt_;
    progress_line& progress_;
    std::optional<uint64_t> frames_wanted_;
    uint32_t rate_hz_;
    level_meter meter_;
    recording_report report_;
};
