// The module's side of the voice-input library, which sees every device and input stream. What the
// library answers is logged and changes nothing.
#pragma once

#include <hardware/audio.h>

extern "C" {

// Brings the library up; called once when the device record is created, under the open lock.
void custom_init(void);

// Attaches the stream in the place, which is complete: the library is given the request's
// configuration with the rate and mask that voice input runs at.
void custom_open(const struct audio_config* config, struct audio_stream_in** stream_in);

// Detaches the stream, which is still whole. Called once for each custom_open().
void custom_close(struct audio_stream_in* stream);

}  // extern "C"
