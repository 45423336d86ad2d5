// One direct stream's side of the player service, which is the back end record of its output
// stream.
//
// Made and freed by hdo.cpp. Everything but what is said below is used under the stream's lock.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <type_traits>

#include "records/usecase.h"

struct hal_stream_out;

enum avplay_state : uint32_t {
    AVPLAY_STATE_READY = 0,    // started, not resumed since it was built or flushed
    AVPLAY_STATE_RUNNING = 1,  // resumed
    AVPLAY_STATE_PAUSED = 2,
};

constexpr uint32_t avplay_handle_none = 0xFFFFFFFF;

// What a write may leave behind for the next one: at most an incomplete header, but the same buffer
// also takes that next write.
constexpr size_t tunnel_buffer_bytes = 76800;

struct avplay_session {
    // Set by the stream right after hdo_create().
    out_usecase usecase;
    avplay_state state;
    struct hal_stream_out* stream;

    // Position queries read both without a lock: load_relaxed() and store_relaxed(). No track is 0.
    uint32_t track_handle;
    // Owned by passthrough sessions. Tunnel sessions borrow the device's AV-sync source.
    uint32_t avplay_handle;

    // Capture files; null when switched off.
    FILE* es_file;
    FILE* pts_file;

    // Tunnel writer. At most one of raw_data_left and tmp_len is not 0 between writes.
    uint32_t frame_size;     // payload bytes of the latest frame
    uint64_t last_pts;       // its presentation time, in milliseconds
    uint32_t raw_data_left;  // its payload bytes that are still to come
    uint32_t tmp_len;        // bytes held in tmp_buf
    uint8_t tmp_buf[tunnel_buffer_bytes];

    bool is_open;  // built, and not torn down since

    // The service did not answer a pause or stop in time, and may have done it since: the player is
    // started and resumed again before it gets data. What is in `state` is what it should be in.
    bool is_in_doubt;
};

static_assert(std::is_trivial_v<avplay_session>);
