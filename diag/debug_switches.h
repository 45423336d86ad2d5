// The module's four log switches.
//
// They are plain exported integers, because other code in the process may read them: 0 is off, 1 is
// on, every reader tests for 1. They are zero when the module is loaded and take new values only in
// get_platform_property(). Writers and readers hold no lock; a reader sees the old or the new
// value.
#pragma once

#include <stdint.h>

#include "diag/relaxed.h"

extern "C" {

extern int32_t gbEnableTrace;      // operations log " %s called" as they start
extern int32_t gbEnablePts;        // timestamps and tunnel data
extern int32_t gbEnableDataPath;   // reported only
extern int32_t gbEnableXrunCheck;  // reported only

// Reads the switches from the system properties "persist.audiohal.log.*". Called at the start of
// every opening of an output stream. Always 0.
int32_t get_platform_property(void);

}  // extern "C"

inline bool is_switch_on(const int32_t& debug_switch) {
    return load_relaxed(debug_switch) == 1;
}

// Logs " %s called" at debug priority under the tag while the trace switch is on.
void trace_call(const char* tag, const char* operation);
