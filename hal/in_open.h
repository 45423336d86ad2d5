// Opening and closing of input streams: operations of the device.
#pragma once

#include <hardware/audio.h>

// Capture is not there yet: every request is refused with -ENOSYS and null through stream_in.
int adev_open_input_stream(struct audio_hw_device* dev, audio_io_handle_t handle,
                           audio_devices_t devices, struct audio_config* config,
                           struct audio_stream_in** stream_in, audio_input_flags_t flags,
                           const char* address, audio_source_t source);

void adev_close_input_stream(struct audio_hw_device* dev, struct audio_stream_in* stream);
