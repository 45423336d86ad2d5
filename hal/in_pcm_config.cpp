#include "hal/in_pcm_config.h"

#include <stdint.h>

namespace {

constexpr uint32_t period_frames = 512;

// By name, because the members' types differ between tinyalsa releases. Zero thresholds ask for
// the library's defaults.
constexpr struct pcm_config low_latency() {
    struct pcm_config config = {};
    config.channels = 2;
    config.rate = 48000;
    config.period_size = period_frames;
    config.period_count = 4;
    config.format = PCM_FORMAT_S16_LE;
    return config;
}

}  // namespace

struct pcm_config pcm_config_ai_low_latency = low_latency();

struct pcm_config in_pcm_config() {
    struct pcm_config config = pcm_config_ai_low_latency;
    config.period_size = period_frames;
    return config;
}
