#include <stdio.h>

#include <hardware/audio.h>

int main(void) {
    struct audio_config config = {.sample_rate = 48000,
                                  .channel_mask = audio_channel_out_mask_from_count(2),
                                  .format = AUDIO_FORMAT_PCM_16_BIT};
    const struct hw_module_t* module;
    struct audio_hw_device* device;
    struct audio_stream_out* out;
    if (hw_get_module_by_class(AUDIO_HARDWARE_MODULE_ID, AUDIO_HARDWARE_MODULE_ID_PRIMARY,
                               &module) != 0 ||
        audio_hw_device_open(module, &device) != 0 ||
        device->open_output_stream(device, 1, AUDIO_DEVICE_OUT_SPEAKER, AUDIO_OUTPUT_FLAG_PRIMARY,
                                   &config, &out, "") != 0) {
        return 1;
    }
    printf("%u Hz, %u channels, %zu bytes a frame\n", out->common.get_sample_rate(&out->common),
           audio_channel_count_from_out_mask(out->common.get_channels(&out->common)),
           audio_stream_out_frame_size(out));
    device->close_output_stream(device, out);
    return audio_hw_device_close(device);
}
