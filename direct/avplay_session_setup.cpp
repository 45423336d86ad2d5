#include "direct/avplay_session_setup.h"

#include <errno.h>

#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_player.h"
#include "direct/avplay_session.h"
#include "direct/status.h"
#include "direct/stream_attributes.h"
#include "player_client/player_functions.h"
#include "records/stream_out.h"

using android::ZU_CHN_AUD;
using android::ZU_SND_0;

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

constexpr uint32_t track_volume_percent = 65;
constexpr uint32_t track_buffer_ms = 30;

// Whether the service has not answered in time an opening or closing of the AV-sync source's
// channel since a session was last built on it. It may do that later, when nobody waits any more: a
// channel that is open then would never open again. Other players live no longer than their
// channel.
bool is_channel_in_doubt = false;

void note_doubt(const struct avplay_session* session, int32_t status) {
    if (session->usecase == USECASE_DIRECT_HWSYNC && status == -ETIMEDOUT) {
        store_relaxed(is_channel_in_doubt, true);
    }
}

int32_t close_channel(const struct avplay_session* session) {
    const int32_t error =
        ZUAVPLAYER_ChnClose(player_connection(), session->avplay_handle, ZU_CHN_AUD);
    note_doubt(session, error);
    return error;
}

int32_t open_channel(const struct avplay_session* session) {
    if (session->usecase == USECASE_DIRECT_HWSYNC && load_relaxed(is_channel_in_doubt)) {
        close_channel(session);
    }
    const int32_t error =
        ZUAVPLAYER_ChnOpen(player_connection(), session->avplay_handle, ZU_CHN_AUD, nullptr, 0);
    note_doubt(session, error);
    return error;
}

// Lends or creates the session's player.
int32_t obtain_player(struct avplay_session* session) {
    const uint32_t hw_sync_id = load_relaxed(session->stream->dev->hw_sync_id);
    HAL_LOGD("avplay_create usecase %d  hw_sync_id:0x%x", static_cast<int>(session->usecase),
             static_cast<unsigned>(hw_sync_id));
    if (session->usecase == USECASE_DIRECT_HWSYNC) {
        if (hw_sync_id == hw_sync_id_none) {
            HAL_LOGD("usecase: DIRECT_HWSYNC hwsync source(%d)  not obtained in advance", -1);
            return -1;
        }
        HAL_LOGD("usecase: DIRECT_HWSYNC hwsync source already obtained(%d),  reuse it",
                 static_cast<int>(hw_sync_id));
        store_relaxed(session->avplay_handle, hw_sync_id);
        return 0;
    }
    if (session->usecase == USECASE_DIRECT_PASSTHRU) {
        HAL_LOGD("usecase: DIRECT_PASSTHRU!");
        uint32_t player = avplay_handle_none;
        const int32_t error = create_player(&player);
        if (error == 0) {
            store_relaxed(session->avplay_handle, player);
        }
        return error;
    }
    HAL_LOGE("avplay_create unkowned usecase %d  hw_sync_id:0x%x",
             static_cast<int>(session->usecase), static_cast<unsigned>(hw_sync_id));
    return -1;
}

int32_t create_track(struct avplay_session* session) {
    android::zu_track_attr attributes = {};
    int32_t error = ZUAVPLAYER_GetTrackDefAttr(player_connection(), android::ZU_TRACK_MASTER,
                                               &attributes, sizeof(attributes));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_GetTrackDefAttr failed (0x%x)", as_hex(error));
        return error;
    }
    attributes.volume = track_volume_percent;
    attributes.buffer_ms = track_buffer_ms;
    uint32_t track = 0;
    error = ZUAVPLAYER_CreateTrack(player_connection(), ZU_SND_0, &attributes, &track,
                                   sizeof(attributes));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_CreateTrack failed (0x%x)", as_hex(error));
        return error;
    }
    store_relaxed(session->track_handle, track);
    return 0;
}

// Also finds the row of the stream's format, which may change at any time: it is read once.
int32_t create_track_for_format(struct avplay_session* session, const direct_format** format) {
    trace_call(log_tag, "createtrack");
    const audio_format_t stream_format = load_relaxed(session->stream->format);
    *format = direct_format_of(stream_format);
    int32_t error = -1;
    if (*format == nullptr) {
        HAL_LOGE("Not support format(0x%x)", static_cast<unsigned>(stream_format));
    } else {
        error = create_track(session);
    }
    if (error != 0) {
        HAL_LOGE("call createtrack failed 0x%x", as_hex(error));
    }
    return error;
}

}  // namespace

void pts_reset(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    session->last_pts = 0;
    session->raw_data_left = 0;
    session->tmp_len = 0;
}

int32_t hal_avplay_create(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr || session->stream == nullptr) {
        return -1;
    }
    void* const connection = player_connection();
    const direct_format* format = nullptr;
    int32_t error = obtain_player(session);
    if (error != 0) {
        return error;
    }
    error = open_channel(session);
    if (error != 0) {
        HAL_LOGE("call avplay_openaudiochan failed 0x%x", as_hex(error));
        goto release_player;
    }
    error = create_track_for_format(session, &format);
    if (error != 0) {
        goto close_channel;
    }
    error = ZUAVPLAYER_AttachSnd(connection, session->track_handle, session->avplay_handle);
    if (error != 0) {
        HAL_LOGE("call ZUAVPLAYER_AttachSnd failed 0x%x", as_hex(error));
        goto destroy_track;
    }
    error = set_stream_attributes(session, *format);
    if (error != 0) {
        goto detach_track;
    }
    error = ZUAVPLAYER_Start(connection, session->avplay_handle, ZU_CHN_AUD, nullptr, 0);
    if (error != 0) {
        HAL_LOGE("call ZUAVPLAYER_Start failed 0x%x", as_hex(error));
        goto detach_track;
    }
    session->frame_size = 0;
    session->raw_data_left = 0;
    session->tmp_len = 0;
    session->state = AVPLAY_STATE_READY;
    session->is_in_doubt = false;
    if (session->usecase == USECASE_DIRECT_HWSYNC) {
        store_relaxed(is_channel_in_doubt, false);
    }
    return 0;

detach_track:
    ZUAVPLAYER_DetachSnd(connection, session->track_handle, session->avplay_handle);
destroy_track:
    ZUAVPLAYER_DestroyTrack(connection, session->track_handle);
close_channel:
    close_channel(session);
release_player:
    if (session->usecase == USECASE_DIRECT_PASSTHRU) {
        destroy_player(session->avplay_handle);
    }
    return error;
}

int32_t hal_avplay_destoryaudio(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr) {
        return -1;
    }
    if (session->usecase == USECASE_DIRECT_HWSYNC) {
        pts_reset(session);
    }
    void* const connection = player_connection();
    const uint32_t player = session->avplay_handle;
    const uint32_t track = session->track_handle;

    constexpr android::zu_stop_option stop_option = {.timeout_ms = 0, .mode = 1};
    int32_t error =
        ZUAVPLAYER_Stop(connection, player, ZU_CHN_AUD, &stop_option, sizeof(stop_option));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Stop (0x%x) avplay failed (0x%x)", player, as_hex(error));
    }
    error = ZUAVPLAYER_DetachSnd(connection, track, player);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_DetachSnd avplay(0x%x) track(0x%x) failed (0x%x)", player, track,
                 as_hex(error));
    }
    error = ZUAVPLAYER_DestroyTrack(connection, track);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_DestroyTrack 0x%x failed (0x%x)", track, as_hex(error));
    }
    error = close_channel(session);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_ChnClose AUD avplay(0x%x) failed (0x%x)", player, as_hex(error));
    }
    error = ZUAVPLAYER_SetSndLatency(connection, ZU_SND_0, idle_latency_ms);
    if (error != 0) {
        HAL_LOGE("call ZUAVPLAYER_SetSndLatency failed (0x%x)", as_hex(error));
    }
    return 0;
}
