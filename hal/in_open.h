// Opening and closing of input streams: operations of the device. The framework's control thread
// calls them; they take no lock but that of the standby with which closing begins.
#pragma once

#include <hardware/audio.h>

// Creates a stream in standby and attaches the voice input to it; the card is opened by the first
// read. Takes 16-bit PCM of one or two channels at nine rates from 8000 to 48000 Hz, and converts
// the card's frames to them; the configuration is never written back. Stores the stream, or null
// on failure, through stream_in. 0, -EINVAL for any other configuration or a null pointer, -ENOMEM,
// -1 when the resampler or the buffer of a mono stream cannot be made.
int adev_open_input_stream(struct audio_hw_device* dev, audio_io_handle_t handle,
                           audio_devices_t devices, struct audio_config* config,
                           struct audio_stream_in** stream_in, audio_input_flags_t flags,
                           const char* address, audio_source_t source);

// Releases the stream with all that it holds open. No other operation of it may be running.
void adev_close_input_stream(struct audio_hw_device* dev, struct audio_stream_in* stream);
