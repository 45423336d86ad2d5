// Plays a probe and records at the same time: how long it takes from write() to read().
//
// One write of a buffer and one read of as many frames follow each other, so both streams run on
// the cards' clocks, and the delay is a count of frames however long a single call takes.
#pragma once

#include <cstdint>
#include <string>

#include "tools/module/hal_stream.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

struct round_trip_report {
    uint64_t delay_frames = 0;  // from the write that took the probe to the read that gave it
    float correlation = 0;      // of the best match, 0 to 1
    bool found = false;
    unsigned peak = 0;  // of the recording, 0 to 32768
    uint64_t frames = 0;
    bool interrupted = false;
    std::string failure;  // why one of the cards gave up
};

// Both streams are 48000 Hz, stereo, 16-bit. Throws program_error for a stream whose answers make
// no sense.
round_trip_report measure_round_trip(hal_output_stream& output, hal_input_stream& input,
                                     const log_lines& log, const interrupt_guard& interrupt,
                                     progress_line& progress);
