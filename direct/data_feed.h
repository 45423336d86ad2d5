// Feeds a session's player, chunk by chunk, through the memory block that the service shares.
//
// Under the stream's lock, which is held while the player has no room. The block is shared by all
// direct streams and has a lock of its own.
#pragma once

#include <stdint.h>

struct avplay_session;

// As the pts of a chunk: none.
constexpr uint32_t PTS_NONE = 0xFFFFFFFF;

extern "C" {

// Sends `size` bytes; `pts`, in milliseconds or PTS_NONE, goes with the first chunk. Resumes a
// player that is ready.
//
// 0, or the status of the last chunk; -1 when the player would not take a chunk, after the chunks
// before it went out, and for a null argument. No bytes: the status of the resume, if there was
// one.
int32_t data_write(struct avplay_session* session, const uint8_t* data, uint32_t size,
                   uint32_t pts);

}  // extern "C"

// How long one write of the framework waits at most for a player that keeps on answering that it
// has no room, and for other streams' chunks. A paused player makes no room by itself, and what
// would resume it needs the stream's lock.
constexpr uint32_t longest_wait_running_us = 1'000'000;
constexpr uint32_t longest_wait_paused_us = 100'000;

// A write's hold on the shared block. It lasts from chunk to chunk while no other write waits:
// locking anew for each would cost as much as copying it.
struct block_hold {
    block_hold() = default;
    ~block_hold() { release(); }
    block_hold(const block_hold&) = delete;
    block_hold& operator=(const block_hold&) = delete;

    void release();
    void release_if_wanted();  // by another write

    bool is_held = false;
};

// One write of the framework: the waits of its pieces are counted together, and a service that has
// not answered one of its calls in time gets no other. The next write asks again.
struct player_write {
    struct avplay_session* session;
    uint64_t waited_us;  // since it began or the last chunk went out
    bool has_no_answer;  // the service hangs
    block_hold block;
};

// data_write() for one of the pieces of such a write.
int32_t feed_player(struct player_write* write, const uint8_t* data, uint32_t size, uint32_t pts);
