// The way of a stream's data to its player. Passthrough data goes as it comes. A tunnel stream has
// a header in front of every frame (direct/avsync_header.h): headers are taken out, each payload
// goes with its presentation time, and what a write cuts off, header or payload, is carried over to
// the next one.
#pragma once

#include <stdint.h>

struct avplay_session;

extern "C" {

// Feeds what the framework wrote; under the stream's lock, and blocks while the player has no room.
// Passthrough: what data_write() gives. Tunnel: always 0, as failures are logged and what they lost
// counts as sent. -1 for a null argument.
int32_t hal_avplay_write(struct avplay_session* session, const uint8_t* data, uint32_t bytes);

}  // extern "C"
