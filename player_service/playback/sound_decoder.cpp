#include "player_service/playback/sound_decoder.h"

#include <zuavplayer/player_types.h>

#include "player_service/playback/ac3_decoder.h"
#include "player_service/playback/pcm_decoder.h"

namespace player_service {

namespace {

bool is_playable(const audio_format& format) {
    return format.channels >= 1 && format.channels <= kMaxChannels &&
           format.rate_hz >= kMinRateHz && format.rate_hz <= kMaxRateHz;
}

}  // namespace

bool is_decoder_type(uint32_t type) {
    return type == android::ZU_ADEC_PCM || type == android::ZU_ADEC_AC3;
}

bool is_decodable(const decoder_config& config) {
    return is_decoder_type(config.type) &&
           (config.type != android::ZU_ADEC_PCM || is_playable(config.format));
}

std::unique_ptr<sound_decoder> make_decoder(const decoder_config& config) {
    if (config.type == android::ZU_ADEC_PCM) {
        return std::make_unique<pcm_decoder>(config.format);
    }
    return ac3_decoder::create();
}

}  // namespace player_service
