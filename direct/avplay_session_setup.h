// Builds the player side of a direct stream and takes it apart: player, audio channel, track, and
// what they are set to. Under the stream's lock; building under the device's lock as well.
#pragma once

#include <stdint.h>

struct avplay_session;

extern "C" {

// Builds and starts it; the session is then ready, with nothing carried over. A failure is the
// failing step's code, or -1 for a tunnel session without an AV-sync source, another usecase or a
// format that cannot be played; what was built until then has been taken apart again.
int32_t hal_avplay_create(struct avplay_session* session);

// Takes audio channel and track apart, each step whatever the one before it gave. The player
// stays. Always 0; -1 for a null session.
int32_t hal_avplay_destoryaudio(struct avplay_session* session);

}  // extern "C"

// Forgets what a tunnel session carried over between writes.
void pts_reset(struct avplay_session* session);
