#include <stdio.h>

#include <cutils/properties.h>
#include <hardware/audio.h>

int main() {
    audio_config_t config = AUDIO_CONFIG_INITIALIZER;
    config.sample_rate = 16000;
    config.channel_mask = audio_channel_in_mask_from_count(1);
    config.format = AUDIO_FORMAT_PCM_16_BIT;
    const hw_module_t* module = nullptr;
    audio_hw_device_t* device = nullptr;
    audio_stream_in_t* in = nullptr;
    if (property_set("persist.audiohal.log.all", "2") != 0 ||
        hw_get_module("audio.primary", &module) != 0 ||
        audio_hw_device_open(module, &device) != 0 ||
        device->open_input_stream(device, 2, AUDIO_DEVICE_IN_BUILTIN_MIC, &config, &in,
                                  AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC) != 0) {
        return 1;
    }
    printf("%s: %u Hz, %zu bytes a frame\n", module->id, in->common.get_sample_rate(&in->common),
           audio_stream_in_frame_size(in));
    device->close_input_stream(device, in);
    return audio_hw_device_close(device);
}
