// Players in the service: the device's AV-sync source, and those that passthrough sessions own.
//
// Results are 0, a code of the service, or a negative errno of the connection; -1 for a null
// argument.
#pragma once

#include <stdint.h>

struct avplay_session;

// Creates a player with the service's own configuration; stores its handle on success only.
int32_t create_player(uint32_t* player);

// Destroys a player; a failure is logged.
int32_t destroy_player(uint32_t player);

extern "C" {

// Creates the AV-sync source and stores its id on success only, or destroys it.
int32_t hal_avplay_create_ext(uint32_t* id);
int32_t hal_avplay_destroy_ext(uint32_t id);

// Destroys the player of a passthrough session, which then has none.
int32_t hal_avplay_destory(struct avplay_session* session);

}  // extern "C"
