// Pausing, resuming and flushing a session's player, and how far it has decoded.
//
// Under the stream's lock, but for hal_avplay_getstamp(), which any thread may ask at any time
// while the session is there. Results are 0, a code of the service, or a negative errno of the
// connection; -1 for a null argument. Pausing what is paused and resuming what runs is logged, and
// no error.
#pragma once

#include <stdint.h>

struct avplay_session;

extern "C" {

int32_t hal_avplay_pause(struct avplay_session* session);
int32_t hal_avplay_resume(struct avplay_session* session);

// Drops what the player holds and, of a tunnel session, what is carried over between writes. The
// player then waits for data again.
int32_t hal_avplay_flush(struct avplay_session* session);

// Logs the request. Always 0.
int32_t hal_avplay_drain(struct avplay_session* session, int32_t type);

// Stores the frames decoded since the session was built: 0 before that, and on a failure what the
// service gave. Leaves the value alone when the session's player is 0.
int32_t hal_avplay_getstamp(struct avplay_session* session, uint64_t* position);

}  // extern "C"
