#include "hal/out_pcm_config.h"

namespace {

constexpr uint32_t card_rate_hz = 48000;
constexpr uint32_t card_period_frames = 480;
constexpr uint32_t never_stop = 0x7FFFFFFF;

constexpr uint32_t direct_period_frames = 1024;

}  // namespace

struct pcm_config out_pcm_config(out_usecase usecase, uint32_t channels,
                                 uint32_t requested_rate_hz) {
    // By name, because the members' types differ between tinyalsa releases.
    struct pcm_config config = {};
    config.channels = channels;
    config.format = PCM_FORMAT_S16_LE;
    if (is_direct(usecase)) {
        config.rate = requested_rate_hz;
        config.period_size = direct_period_frames;
        config.period_count = 4;
        return config;
    }
    config.rate = card_rate_hz;
    config.period_size = card_period_frames;
    config.period_count = 2;
    config.start_threshold = card_period_frames / 2;
    config.stop_threshold = never_stop;
    config.avail_min = card_period_frames / 2;
    return config;
}
