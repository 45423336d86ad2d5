#include "direct/avplay_connection.h"

#include <zuavplayer/player_types.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "direct/status.h"
#include "player_client/player_functions.h"

using android::ZU_SND_0;

void* avplayer_handle = nullptr;
void* avplayer_cblk = nullptr;

namespace {

constexpr const char* log_tag = "audio_hal_avplay";

struct decoder_library {
    const char* file;
    const char* name;  // as the log spells it
};

// In the order in which they are registered. A library that the service lacks is its own loss.
constexpr decoder_library decoder_libraries[] = {
    {"libZU.AUDIO.DOLBYPLUS.decode.so", "AC3 licence"},
    {"libZU.AUDIO.BLURAYLPCM.decode.so", "BLURAYLPCM decode"},
    {"libZU.AUDIO.FFMPEG_ADEC.decode.so", "FFMPEG decode"},
    {"libZU.AUDIO.PCM.decode.so", "PCM decode"},
};

void publish(void* handle, void* block) {
    store_relaxed(avplayer_cblk, block);
    store_relaxed(avplayer_handle, handle);
}

// Nothing finds the handle any more once it is being closed.
void close_connection() {
    void* const handle = load_relaxed(avplayer_handle);
    publish(nullptr, nullptr);
    ZUAVPLAYER_Close(handle);
}

void register_decoder_libraries(void* handle) {
    for (const decoder_library& library : decoder_libraries) {
        const int32_t result = ZUAVPLAYER_RegisterAcodecLib(handle, library.file);
        HAL_LOGD("Register %s lib ret(0x%x)", library.name, as_hex(result));
    }
}

}  // namespace

int32_t hal_avplay_initAvplayer(void) {
    trace_call(log_tag, __func__);
    if (player_connection() != nullptr) {
        close_connection();  // kept by a disconnection that the service did not answer
    }
    void* handle = nullptr;
    void* block = nullptr;
    int32_t error = ZUAVPLAYER_Open(&handle);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Get failed(0x%x)", as_hex(error));
        return error;
    }
    error = ZUAVPLAYER_SYS_Init(handle);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SYS_Init failed (0x%x)", as_hex(error));
        goto close;
    }
    error = ZUAVPLAYER_Init(handle);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_Init failed (0x%x)\n", as_hex(error));
        goto close;
    }
    register_decoder_libraries(handle);
    block = ZUAVPLAYER_GetCblk(handle);
    if (block == nullptr) {
        HAL_LOGE("Call ZUAVPLAYER_GetCblk failed");
        error = -1;
        goto deinit;
    }
    publish(handle, block);
    return 0;

deinit:
    ZUAVPLAYER_DeInit(handle);
close:
    ZUAVPLAYER_Close(handle);
    return error;
}

int32_t hal_avplay_deinitAvplayer(void) {
    trace_call(log_tag, __func__);
    void* const handle = player_connection();
    publish(handle, nullptr);  // the block goes whatever the service answers
    const int32_t error = ZUAVPLAYER_DeInit(handle);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_DeInit failed (0x%x)", as_hex(error));
        return error;
    }
    close_connection();
    return 0;
}

int32_t hal_avplay_initsnd(void) {
    trace_call(log_tag, __func__);
    const int32_t error = ZUAVPLAYER_SndInit(player_connection(), ZU_SND_0);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SndInit ZU_KRX_SND_0 failed (0x%x)", as_hex(error));
    }
    return error;
}

int32_t hal_avplay_deinitsnd(void) {
    trace_call(log_tag, __func__);
    const int32_t error = ZUAVPLAYER_SndDeInit(player_connection(), ZU_SND_0);
    if (error != 0) {
        HAL_LOGE("Call ZUAVPLAYER_SndDeInit ZU_KRX_SND_0 failed (0x%x)", as_hex(error));
    }
    return error;
}
