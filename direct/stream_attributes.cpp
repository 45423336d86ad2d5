#include "direct/stream_attributes.h"

#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/status.h"
#include "player_client/player_functions.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

constexpr direct_format direct_formats[] = {
    {AUDIO_FORMAT_PCM_16_BIT, android::ZU_ADEC_PCM, 20480, 8},
    {AUDIO_FORMAT_AC3, android::ZU_ADEC_AC3, 4096, 2},
    {AUDIO_FORMAT_E_AC3, android::ZU_ADEC_AC3, 4096, 2},
};

int32_t set_buffer_sizes(const struct avplay_session* session, const direct_format& format) {
    trace_call(log_tag, "setadecbuffersize");
    HAL_LOGD("Stream format(0x%x)", static_cast<unsigned>(format.format));
    void* const connection = player_connection();
    const uint32_t player = session->avplay_handle;
    android::zu_stream_mode_attr mode = {};
    int32_t error =
        ZUAVPLAYER_GetAttr(connection, player, android::ZU_ATTR_STREAM_MODE, &mode, sizeof(mode));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_GetAttr failed (0x%x)", as_hex(error));
        return error;
    }
    if (mode.audio_buffer_bytes != format.audio_buffer_bytes) {
        HAL_LOGD("set AudBufSize:%d, u32AdecMinBufSize(%d)",
                 static_cast<int>(mode.audio_buffer_bytes),
                 static_cast<int>(format.audio_buffer_bytes));
        mode.audio_buffer_bytes = format.audio_buffer_bytes;
        error = ZUAVPLAYER_SetAttr(connection, player, android::ZU_ATTR_STREAM_MODE, &mode,
                                   sizeof(mode));
        if (error != 0) {
            HAL_LOGE("Call ZUAVPLAYER_SetAttr STREAM_MODE failed (0x%x)", as_hex(error));
            return error;
        }
    }
    error = ZUAVPLAYER_SetAdecOutBufSize(connection, player, format.decoder_output_frames);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SetAdecOutBufSize failed (0x%x)", as_hex(error));
    }
    return error;
}

// The player may refuse: it finds out from the stream itself, too.
void set_decoder(const struct avplay_session* session, const direct_format& format) {
    trace_call(log_tag, "setadecattr");
    const struct pcm_config& config = session->stream->config;
    const int sample_format = static_cast<int>(config.format);
    HAL_LOGE("u32AdecType (0x%x),nChannels %d,nSamplesPerSec %d,s32BitSample %d\n",
             static_cast<unsigned>(format.decoder_type), static_cast<int>(config.channels),
             static_cast<int>(config.rate), sample_format);
    ZUAVPLAYER_SetAdecAttr(player_connection(), session->avplay_handle, format.decoder_type,
                           static_cast<uint16_t>(config.channels), config.rate, sample_format);
}

int32_t set_sync(const struct avplay_session* session) {
    void* const connection = player_connection();
    const uint32_t player = session->avplay_handle;
    android::zu_sync_attr sync = {};
    int32_t error =
        ZUAVPLAYER_GetAttr(connection, player, android::ZU_ATTR_SYNC, &sync, sizeof(sync));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_GetAttr failed (0x%x)", as_hex(error));
        return error;
    }
    sync.sync_reference = 1;
    sync.sync_start = 1;
    error = ZUAVPLAYER_SetAttr(connection, player, android::ZU_ATTR_SYNC, &sync, sizeof(sync));
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SetAttr SYNC failed (0x%x)", as_hex(error));
    }
    return error;
}

int32_t set_sound() {
    const int32_t error =
        ZUAVPLAYER_SetSndLatency(player_connection(), android::ZU_SND_0, direct_latency_ms);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SetSndLatency failed (0x%x)", as_hex(error));
    }
    return error;
}

int32_t set_all(const struct avplay_session* session, const direct_format& format) {
    int32_t error = set_buffer_sizes(session, format);
    if (error != 0) {
        HAL_LOGE("Call setadecbuffersize failed (0x%x)", as_hex(error));
        return error;
    }
    set_decoder(session, format);
    if (session->usecase == USECASE_DIRECT_HWSYNC) {
        error = set_sync(session);
        if (error != 0) {
            HAL_LOGE("Call setsyncattr failed (0x%x)", as_hex(error));
            return error;
        }
    }
    error = set_sound();
    if (error != 0) {
        HAL_LOGE("Call setsndattr failed (0x%x)", as_hex(error));
    }
    return error;
}

}  // namespace

const direct_format* direct_format_of(audio_format_t format) {
    for (const direct_format& row : direct_formats) {
        if (row.format == format) {
            return &row;
        }
    }
    return nullptr;
}

int32_t set_stream_attributes(const struct avplay_session* session, const direct_format& format) {
    trace_call(log_tag, "setattr");
    const int32_t error = set_all(session, format);
    if (error != 0) {
        HAL_LOGE("call setattr failed 0x%x", as_hex(error));
    }
    return error;
}
