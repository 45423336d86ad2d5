#include "direct/avplay_player.h"

#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/status.h"
#include "player_client/player_functions.h"

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

}  // namespace

int32_t create_player(uint32_t* player) {
    android::zu_player_config config = {};
    int32_t error = ZUAVPLAYER_GetDefaultConfig(player_connection(), &config,
                                                android::ZU_CONFIG_PLAYER, sizeof(config));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_GetDefaultConfig failed (0x%x)", as_hex(error));
        return error;
    }
    uint32_t created = avplay_handle_none;
    error = ZUAVPLAYER_Create(player_connection(), &config, &created, sizeof(config));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Create failed (0x%x)", as_hex(error));
        return error;
    }
    *player = created;
    return 0;
}

int32_t destroy_player(uint32_t player) {
    const int32_t error = ZUAVPLAYER_Destroy(player_connection(), player);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Destroy failed (0x%x)", as_hex(error));
    }
    return error;
}

int32_t hal_avplay_create_ext(uint32_t* id) {
    trace_call(log_tag, __func__);
    return id != nullptr ? create_player(id) : -1;
}

int32_t hal_avplay_destroy_ext(uint32_t id) {
    trace_call(log_tag, __func__);
    return destroy_player(id);
}

int32_t hal_avplay_destory(struct avplay_session* session) {
    trace_call(log_tag, __func__);
    if (session == nullptr) {
        return -1;
    }
    const uint32_t player = load_relaxed(session->avplay_handle);
    // As before the stream was first opened, so that nobody asks about what has gone.
    store_relaxed(session->track_handle, uint32_t{0});
    store_relaxed(session->avplay_handle, avplay_handle_none);
    return destroy_player(player);
}
