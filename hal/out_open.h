// Opening and closing of output streams: operations of the device. The framework's control thread
// calls them; they take no lock.
#pragma once

#include <hardware/audio.h>

// Creates a stream in standby. Nothing is opened on the card or in the player service yet: the
// first write does that. Zero values in the configuration mean 48000 Hz, stereo, 16-bit PCM;
// nothing of it is validated or written back. Stores the stream, or null on failure, through
// stream_out. 0, -ENOMEM (also when direct output is not available), -EINVAL for a null pointer.
int adev_open_output_stream(struct audio_hw_device* dev, audio_io_handle_t handle,
                            audio_devices_t devices, audio_output_flags_t flags,
                            struct audio_config* config, struct audio_stream_out** stream_out,
                            const char* address);

// Releases the stream with all that it holds open. No other operation of it may be running.
void adev_close_output_stream(struct audio_hw_device* dev, struct audio_stream_out* stream);
