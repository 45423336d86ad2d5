#include "direct/playback_control.h"

#include <errno.h>

#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/avplay_session_setup.h"
#include "direct/status.h"
#include "player_client/player_functions.h"

using android::ZU_CHN_AUD;

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

// After a pause or stop, by what the service answered.
void note_doubt(struct avplay_session* session, int32_t status) {
    session->is_in_doubt = status == -ETIMEDOUT || (session->is_in_doubt && status != 0);
}

// A started player refuses to be started, which does not matter. What it was asked to do before it
// hung is done by then: it answers.
void end_doubt(struct avplay_session* session) {
    const int32_t status =
        ZUAVPLAYER_Start(player_connection(), session->avplay_handle, ZU_CHN_AUD, nullptr, 0);
    session->is_in_doubt = status == -ETIMEDOUT;
    if (session->state == AVPLAY_STATE_RUNNING) {
        session->state = AVPLAY_STATE_READY;
    }
}

}  // namespace

int32_t hal_avplay_pause(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr) {
        return -1;
    }
    if (session->state == AVPLAY_STATE_PAUSED) {
        HAL_LOGE("%s: Avplay not RUNNING state(0x%x)", __func__,
                 static_cast<unsigned>(session->state));
        return 0;
    }
    const int32_t error = ZUAVPLAYER_Pause(player_connection(), session->avplay_handle, nullptr, 0);
    note_doubt(session, error);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Pause (0x%x) failed (0x%x)", session->avplay_handle,
                 as_hex(error));
        return error;
    }
    session->state = AVPLAY_STATE_PAUSED;
    HAL_LOGD("%s: Avplay [RUNNING] -> [PAUSED]", __func__);
    return 0;
}

int32_t hal_avplay_resume(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr) {
        return -1;
    }
    if (session->is_in_doubt) {
        end_doubt(session);
    }
    if (session->state == AVPLAY_STATE_RUNNING) {
        HAL_LOGE("%s: Avplay not PAUSED state(0x%x)", __func__,
                 static_cast<unsigned>(session->state));
        return 0;
    }
    const int32_t error =
        ZUAVPLAYER_Resume(player_connection(), session->avplay_handle, nullptr, 0);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Resume (0x%x) failed (0x%x)", session->avplay_handle,
                 as_hex(error));
        return error;
    }
    session->state = AVPLAY_STATE_RUNNING;
    HAL_LOGD("%s: [PAUSED] -> [RUNNING]", __func__);
    return 0;
}

int32_t hal_avplay_flush(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr) {
        return -1;
    }
    if (session->usecase == USECASE_DIRECT_HWSYNC) {
        pts_reset(session);
    }
    int32_t error =
        ZUAVPLAYER_Stop(player_connection(), session->avplay_handle, ZU_CHN_AUD, nullptr, 0);
    note_doubt(session, error);
    if (error != 0) {
        HAL_LOGE("Avplay Flush ZUAVPLAYER_Stop failed (0x%x)", as_hex(error));
        return error;
    }
    error = ZUAVPLAYER_Start(player_connection(), session->avplay_handle, ZU_CHN_AUD, nullptr, 0);
    if (error != 0) {
        HAL_LOGE("Avplay Flush ZUAVPLAYER_Start failed (0x%x)", as_hex(error));
    }
    session->state = AVPLAY_STATE_READY;
    return error;
}

int32_t hal_avplay_drain(struct avplay_session* /*session*/, int32_t type) {
    trace_call(log_tag, __func__);
    HAL_LOGD("%s: Avplay [drain type(0x%x)", __func__, as_hex(type));
    return 0;
}

int32_t hal_avplay_getstamp(struct avplay_session* session, uint64_t* position) {
    trace_call(log_tag, __func__);
    if (session == nullptr || position == nullptr) {
        return -1;
    }
    const uint32_t player = load_relaxed(session->avplay_handle);
    if (player == 0) {
        return 0;
    }
    if (load_relaxed(session->track_handle) == 0) {
        *position = 0;
        return 0;
    }
    uint32_t decoded_frames = 0;
    uint32_t unused = 0;
    const int32_t error =
        ZUAVPLAYER_GetAdecOutFrameInfo(player_connection(), player, &decoded_frames, &unused);
    if (error != 0) {
        HAL_LOGD("%s: ZUAVPLAYER_GetAdecOutFrameInfo failed(0x%x)", __func__, as_hex(error));
    }
    *position = decoded_frames;
    return error;
}
