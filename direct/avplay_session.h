// The per-stream record of direct output, owned by its output stream.
#pragma once

#include <type_traits>

#include "records/usecase.h"

struct hal_stream_out;

struct avplay_session {
    // Set by the stream right after hdo_create().
    out_usecase usecase;
    struct hal_stream_out* stream;
};

static_assert(std::is_trivial_v<avplay_session>);
