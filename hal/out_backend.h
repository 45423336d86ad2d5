// The back end of an output stream, chosen by its usecase.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "records/stream_out.h"

// What the stream operations need of a back end; each takes the stream that owns it.
struct out_backend {
    const char* name;  // as messages spell it
    int32_t (*open)(hal_stream_out* out);
    int32_t (*write)(hal_stream_out* out, const void* buffer, size_t bytes);
    int32_t (*close)(hal_stream_out* out);
    int32_t (*get_buffer_size)(hal_stream_out* out);  // bytes
    int32_t (*get_latency)(hal_stream_out* out);      // milliseconds
    int32_t (*get_tstamp)(hal_stream_out* out, uint64_t* frames);
};

// The table for the stream's usecase; null for an invalid usecase.
const out_backend* out_backend_of(const hal_stream_out* out);
