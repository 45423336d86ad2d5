#include "hal/voice_input.h"

#include <nano/nano.h>

#include "diag/log.h"
#include "hal/arguments.h"

namespace {

constexpr const char* log_tag = "audio_hal_custom";

constexpr uint32_t voice_rate_hz = 16000;
constexpr audio_channel_mask_t voice_mask = AUDIO_CHANNEL_IN_MONO;

}  // namespace

void custom_init(void) {
    HAL_LOGD("%s nano_init", __func__);
    nano_init();
}

void custom_open(const struct audio_config* config, struct audio_stream_in** stream_in) {
    if (any_null(__func__, config, stream_in)) {
        return;
    }
    struct audio_config voice_config = *config;
    voice_config.sample_rate = voice_rate_hz;
    voice_config.channel_mask = voice_mask;
    HAL_LOGD("nano_input_open:config.channel_mask:%d, config.sample_rate:%d",
             static_cast<int>(voice_config.channel_mask),
             static_cast<int>(voice_config.sample_rate));
    const int result = nano_input_open(*stream_in, &voice_config);
    if (result >= 0) {
        HAL_LOGD("%s: nano_input_open success", __func__);
    } else {
        HAL_LOGD("%s: nano_input_open : %d", __func__, result);
    }
}

void custom_close(struct audio_stream_in* stream) {
    HAL_LOGD("%s nano_close", __func__);
    nano_close(stream);
}
