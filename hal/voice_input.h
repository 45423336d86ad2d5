// The module's side of the voice-input library, which sees every device and input stream.
#pragma once

extern "C" {

// Brings the library up; called once when the device record is created, under the open lock.
void custom_init(void);

}  // extern "C"
