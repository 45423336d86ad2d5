// The one connection to the media player service, and the sound output that it plays to. Made when
// the device is opened and taken down when it is closed, under the device's open lock.
//
// Results are 0, a code of the service, or a negative errno of the connection.
#pragma once

#include <stdint.h>

#include "diag/relaxed.h"

// Written while the device is opened or closed. Here because each chunk of a stream asks for them.
extern void* avplayer_handle;
extern void* avplayer_cblk;

// The first argument of every ZUAVPLAYER_* call; null while there is no connection, which makes
// each of them fail without a call. Any thread.
inline void* player_connection() {
    return load_relaxed(avplayer_handle);
}

// The start of the memory block through which stream data goes to the service, 8192 bytes; null
// while there is no connection. Any thread.
inline void* player_block() {
    return load_relaxed(avplayer_cblk);
}

extern "C" {

// Connects and registers the decoder libraries. A failure leaves nothing behind.
int32_t hal_avplay_initAvplayer(void);

// Disconnects. Where the service does not answer, the handle stays for calls to fail on, and the
// next hal_avplay_initAvplayer() frees it.
int32_t hal_avplay_deinitAvplayer(void);

// Opens and closes sound output 0.
int32_t hal_avplay_initsnd(void);
int32_t hal_avplay_deinitsnd(void);

}  // extern "C"
