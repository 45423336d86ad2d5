#include "direct/data_feed.h"

#include <algorithm>
#include <errno.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#include <annexk/annexk.h>
#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/fair_lock.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/playback_control.h"
#include "direct/status.h"
#include "player_client/player_functions.h"

using android::zu_status;

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

// For what locks or unlocks by block_hold::is_held, which Clang's analysis does not follow.
#define BY_HOLD HAL_THREAD_ANNOTATION(no_thread_safety_analysis)

constexpr uint32_t chunk_bytes = 1024;
constexpr uint32_t poll_us = 10'000;

// Of the previous data_write() of any session; for a log line only.
uint32_t last_write_pts = 0;

// From a chunk's copy to its hand-over at least; taken last, under a stream's lock.
struct fair_lock block_lock = {};

static_assert(PTS_NONE == android::ZU_PTS_NONE);

uint64_t now_us() {
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(now.tv_nsec) / 1000;
}

int32_t ask_for_room(const struct avplay_session* session, uint32_t bytes) {
    return ZUAVPLAYER_GetBuf(player_connection(), session->avplay_handle, android::ZU_BUF_AUD,
                             bytes, 0);
}

bool is_busy(int32_t status) {
    return status == zu_status(android::ZU_ERR_BUF_FULL) ||
           status == zu_status(android::ZU_ERR_BUF_NOT_READY);
}

// How long the write may wait in all.
uint64_t longest_wait_us(const struct player_write* write) {
    return write->session->state == AVPLAY_STATE_PAUSED ? longest_wait_paused_us
                                                        : longest_wait_running_us;
}

// Waits for the block as long as the write may.
bool wait_for_block(struct player_write* write) {
    const uint64_t longest_us = longest_wait_us(write);
    if (write->waited_us >= longest_us) {
        return false;
    }
    bool is_locked = false;
    while (!is_locked && write->waited_us < longest_us) {
        const uint64_t start_us = now_us();
        is_locked = take_within(block_lock, longest_us - write->waited_us);
        write->waited_us += now_us() - start_us;
    }
    if (!is_locked) {
        HAL_LOGE("another stream's chunk is in the way for %d ms",
                 static_cast<int>(write->waited_us / 1000));
    }
    return is_locked;
}

// False when other streams' chunks take too long, which has then been logged.
BY_HOLD bool take_block(struct player_write* write) {
    bool& is_held = write->block.is_held;
    is_held = is_held || try_take(block_lock) || wait_for_block(write);
    return is_held;
}

// Polls until the player takes a chunk of `bytes` bytes. False when it does not; the reason has
// then been logged. A write that has waited for long enough asks once more for each of its pieces,
// but waits no more; a service that hangs is not asked again. Whoever waits holds no block.
bool wait_for_room(struct player_write* write, uint32_t bytes) {
    if (write->has_no_answer) {
        return false;
    }
    uint64_t refused_us = 0;  // when the player last had no room; 0 before that
    for (;;) {
        const int32_t status = ask_for_room(write->session, bytes);
        if (refused_us != 0) {
            // A slow answer makes a round longer, a signal makes it shorter: the wait ends anyway.
            write->waited_us += std::max<uint64_t>(poll_us, now_us() - refused_us);
        }
        if (status == 0) {
            return true;
        }
        if (!is_busy(status)) {
            HAL_LOGE("ZUAVPLAYER_GetBuf failed (0x%x)", as_hex(status));
            write->has_no_answer = status == -ETIMEDOUT;
            return false;
        }
        if (write->waited_us >= longest_wait_us(write)) {
            if (refused_us != 0) {
                HAL_LOGE("ZUAVPLAYER_GetBuf failed (0x%x): no room for %d ms", as_hex(status),
                         static_cast<int>(write->waited_us / 1000));
            }
            return false;
        }
        write->block.release();
        refused_us = now_us();
        usleep(poll_us);
    }
}

// Hands one chunk over through the block, which the caller holds.
int32_t send_chunk(struct player_write* write, const uint8_t* data, uint32_t bytes, uint32_t pts) {
    write->waited_us = 0;
    const int copy_error = memcpy_s(player_block(), bytes, data, bytes);
    if (copy_error != 0 && is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: memcpy_s mshare failed(0x%x)", "data_write", as_hex(copy_error));
    }
    const int32_t status = ZUAVPLAYER_PutBufEx(player_connection(), write->session->avplay_handle,
                                               android::ZU_BUF_AUD, bytes, pts);
    if (status != 0) {
        HAL_LOGE("Call ZUAVPLAYER_PutBufEx failed (0x%x)", as_hex(status));
        write->has_no_answer = status == -ETIMEDOUT;
    }
    return status;
}

void capture_chunk(FILE* es_file, const uint8_t* data, uint32_t bytes) {
    const size_t written = fwrite(data, 1, bytes, es_file);
    if (written < bytes) {
        HAL_LOGE(" fwrite es file failed wanted(%d) actual(%d)", static_cast<int>(bytes),
                 static_cast<int>(written));
    }
}

bool has_to_resume(const struct avplay_session* session) {
    return session->state == AVPLAY_STATE_READY ||
           (session->is_in_doubt && session->state == AVPLAY_STATE_RUNNING);
}

void note_pts(uint32_t size, uint32_t pts) {
    const uint32_t previous = load_relaxed(last_write_pts);
    if (previous < pts && is_switch_on(gbEnablePts)) {
        HAL_LOGD("krx_avplay_write size:%d  pts:%d  At=%d", static_cast<int>(size),
                 static_cast<int>(pts), static_cast<int>(pts - previous));
    }
    store_relaxed(last_write_pts, pts);
}

}  // namespace

void block_hold::release_if_wanted() {
    if (is_wanted(block_lock)) {
        release();
    }
}

BY_HOLD void block_hold::release() {
    if (is_held) {
        give_back(block_lock);
        is_held = false;
    }
}

int32_t feed_player(struct player_write* write, const uint8_t* data, uint32_t size, uint32_t pts) {
    trace_call(log_tag, "data_write");
    struct avplay_session* const session = write->session;
    int32_t status = 0;
    if (has_to_resume(session)) {
        status = hal_avplay_resume(session);
        if (status != 0) {
            HAL_LOGE("hal_avplay_resume faild(0x%x)", as_hex(status));
        }
        session->state = AVPLAY_STATE_RUNNING;
        HAL_LOGD("%s: Avplay Resume -> [RUNNING] ", "data_write");
    }
    note_pts(size, pts);
    for (uint32_t sent = 0; sent < size;) {
        const uint32_t bytes = std::min(size - sent, chunk_bytes);
        write->block.release_if_wanted();
        if (!wait_for_room(write, bytes) || !take_block(write)) {
            return -1;
        }
        status = send_chunk(write, data + sent, bytes, sent == 0 ? pts : PTS_NONE);
        if (session->es_file != nullptr) {
            write->block.release();  // a file may be slow
            capture_chunk(session->es_file, data + sent, bytes);
        }
        sent += bytes;
    }
    return status;
}

int32_t data_write(struct avplay_session* session, const uint8_t* data, uint32_t size,
                   uint32_t pts) {
    if (session == nullptr || (data == nullptr && size > 0)) {
        return -1;
    }
    struct player_write write = {session, 0, false, {}};
    return feed_player(&write, data, size, pts);
}
