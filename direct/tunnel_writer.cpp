#include "direct/tunnel_writer.h"

#include <algorithm>
#include <stdio.h>
#include <string.h>

#include <annexk/annexk.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "direct/avplay_session.h"
#include "direct/avsync_header.h"
#include "direct/data_feed.h"
#include "direct/status.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

constexpr uint32_t stereo_offset_bytes = 16;
constexpr uint32_t surround_offset_bytes = 48;

// Bytes still to be looked at.
struct span {
    const uint8_t* p;
    uint32_t n;
};

span rest_of(const span& input, uint32_t taken) {
    return {input.p + taken, input.n - taken};
}

// Where the framework puts the payload behind a header, by the stream's channels.
uint32_t expected_data_offset(const struct avplay_session* session) {
    const unsigned channels = session->stream->config.channels;
    return channels == 6 || channels == 8 ? surround_offset_bytes : stereo_offset_bytes;
}

// Puts new bytes behind the held ones and gives both.
span append_to_held(struct avplay_session* session, const uint8_t* data, uint32_t bytes) {
    if (is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s:New data to TmpBuf: last(%d)+new(%d) RawDataLeftSize:%d", "tunnel_write",
                 static_cast<int>(session->tmp_len), static_cast<int>(bytes),
                 static_cast<int>(session->raw_data_left));
    }
    const uint32_t held = session->tmp_len;
    int error = 0;
    if (bytes > 0) {
        error = memcpy_s(session->tmp_buf + held, sizeof(session->tmp_buf) - held, data, bytes);
    }
    if (error != 0 && is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: memcpy_s data failed(0x%x)", "tunnel_write", as_hex(error));
    }
    return {session->tmp_buf, error == 0 ? held + bytes : held};
}

// Holds back what may be the start of a header; the rest of the input is dropped.
void hold(struct avplay_session* session, const span& input, uint32_t expected_offset) {
    const uint32_t kept =
        std::max(std::min(input.n, expected_offset),
                 incomplete_header_bytes(input.p, input.n, surround_offset_bytes));
    const int error =
        kept > 0 ? memmove_s(session->tmp_buf, sizeof(session->tmp_buf), input.p, kept) : 0;
    if (error != 0 && is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: memmove failed:%d", "tunnel_write_framedata", error);
    }
    session->tmp_len = kept;
}

// A line for the frame in the "pts" capture file.
void capture_pts(struct player_write* write, uint64_t pts_ms, uint32_t frame_size) {
    const struct avplay_session* const session = write->session;
    if (session->pts_file == nullptr) {
        return;
    }
    write->block.release();  // a file may be slow
    const uint64_t step_ms = pts_ms > session->last_pts ? pts_ms - session->last_pts : 0;
    char line[1024] = {};
    const int error = sprintf_s(line, sizeof(line), "%10llu %10u %10llu \n",
                                static_cast<unsigned long long>(pts_ms), frame_size,
                                static_cast<unsigned long long>(step_ms));
    if (error != 0 && is_switch_on(gbEnablePts)) {
        HAL_LOGD("%s: sprintf_s failed(0x%x)", "tunnel_write_framedata", as_hex(error));
    }
    fwrite(line, 1, strlen(line), session->pts_file);
}

// Sends what is still missing of a frame whose header came with an earlier write. What is left of
// the input begins with a header, unless the debt took it all.
span tunnel_write_rawdata(struct player_write* write, const span& input) {
    struct avplay_session* const session = write->session;
    const uint32_t debt = session->raw_data_left;
    const uint32_t payload = std::min(input.n, debt);
    // A write that ended right behind the header had no chunk for the frame's time to go with.
    const bool frame_is_untouched = debt == session->frame_size;
    const uint32_t pts = frame_is_untouched ? static_cast<uint32_t>(session->last_pts) : PTS_NONE;
    const int32_t error = feed_player(write, input.p, payload, pts);
    if (error != 0) {
        HAL_LOGE("%s:avplay_write0 failed (0x%x)", __func__, as_hex(error));
    }
    if (is_switch_on(gbEnablePts)) {
        if (input.n < debt) {
            HAL_LOGD("%s:TotalBytes: %d not enough for DebtSize:%d ", __func__,
                     static_cast<int>(input.n), static_cast<int>(debt));
        } else {
            HAL_LOGD("%s:TotalBytes:%d enough for RawDataLeftSize:%d ", __func__,
                     static_cast<int>(input.n), static_cast<int>(debt));
        }
    }
    session->raw_data_left = debt - payload;
    return rest_of(input, payload);
}

// Takes one header and its payload off the input. False when the input held no more than is now
// carried over.
bool tunnel_write_framedata(struct player_write* write, span* input) {
    struct avplay_session* const session = write->session;
    const bool logs = is_switch_on(gbEnablePts);
    const uint32_t expected_offset = expected_data_offset(session);
    uint32_t frame_size = 0;
    uint64_t pts_ms = 0;
    uint32_t data_offset = 0;
    const bool found = utils_findheader(input->p, input->n, expected_offset, &frame_size, &pts_ms,
                                        &data_offset) == 0;
    if (logs) {
        HAL_LOGD("%s:find_header %s framesize:%d framepts:%lld dataoffset:%d", __func__,
                 found ? "success" : "failed", static_cast<int>(frame_size),
                 static_cast<long long>(pts_ms), static_cast<int>(data_offset));
    }
    if (!found) {
        hold(session, *input, expected_offset);
        return false;
    }
    if (data_offset != expected_offset) {
        HAL_LOGD("%s:find_header success u32DataOffset:%d but still something wrong happend",
                 __func__, static_cast<int>(data_offset));
    }
    capture_pts(write, pts_ms, frame_size);
    session->frame_size = frame_size;
    session->last_pts = pts_ms;

    const span payload = rest_of(*input, data_offset);
    const int32_t error = feed_player(write, payload.p, std::min(payload.n, frame_size),
                                      static_cast<uint32_t>(pts_ms));
    if (error != 0) {
        HAL_LOGE("%s:avplay_write1 failed 0x%x", __func__, as_hex(error));
    }
    session->tmp_len = 0;
    if (payload.n < frame_size) {
        session->raw_data_left = frame_size - payload.n;
        return false;
    }
    if (logs) {
        HAL_LOGD("%s:RawDataLength %d enough to write 0x%x", __func__, static_cast<int>(payload.n),
                 static_cast<unsigned>(frame_size));
    }
    session->raw_data_left = 0;
    const uint32_t taken = data_offset + frame_size;
    // A broken header may say that it and its frame have no bytes: it is skipped all the same.
    *input = rest_of(*input, taken > 0 ? taken : avsync_header_v2_bytes);
    return true;
}

// One stretch of input, which lies whole in the caller's buffer or in the session's.
void tunnel_write(struct player_write* write, span input) {
    struct avplay_session* const session = write->session;
    if (session->raw_data_left > 0) {
        input = tunnel_write_rawdata(write, input);
        session->tmp_len = 0;
        if (session->raw_data_left > 0) {
            return;
        }
    }
    while (tunnel_write_framedata(write, &input)) {
    }
}

void write_tunnel(struct avplay_session* session, const uint8_t* data, uint32_t bytes) {
    struct player_write write = {session, 0, false, {}};
    do {
        // Without held bytes the caller's are used where they are.
        if (session->tmp_len == 0) {
            tunnel_write(&write, {data, bytes});
            return;
        }
        // With them, no more than fits behind them at a time.
        const uint32_t room = static_cast<uint32_t>(sizeof(session->tmp_buf)) - session->tmp_len;
        const uint32_t slice = std::min(bytes, room);
        tunnel_write(&write, append_to_held(session, data, slice));
        data += slice;
        bytes -= slice;
    } while (bytes > 0);
}

}  // namespace

int32_t hal_avplay_write(struct avplay_session* session, const uint8_t* data, uint32_t bytes) {
    if (session == nullptr || session->stream == nullptr || (data == nullptr && bytes > 0)) {
        return -1;
    }
    if (session->usecase == USECASE_DIRECT_PASSTHRU) {
        return data_write(session, data, bytes, PTS_NONE);
    }
    write_tunnel(session, data, bytes);
    return 0;
}
