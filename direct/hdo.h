// Direct output back end: hands the data of direct and hardware-AV-synchronised streams to the
// media player service.
//
// Device-wide: hdo_init() when the device is opened decides whether direct output exists for the
// device's life; hdo_deinit() when it is closed. Per stream: hdo_create(), then hdo_open() at the
// first write after standby and hdo_close() at standby, hdo_destroy() with the stream. The back end
// has no lock of its own: open, write, close and the controls run under the stream's lock, open
// under the device's lock as well; sizes, latency and position are asked without any.
//
// Results are 0, a code of the player service, or a negative errno unless stated; -1 for a null
// argument.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "direct/avplay_session.h"

struct hal_device;

extern "C" {

// Connects to the player service. On failure the device's hdo_supported is false.
int32_t hdo_init(struct hal_device* device);

// Disconnects again.
void hdo_deinit(void);

// Creates a closed back end in the slot, with its capture files as their switches say; the caller
// then sets the record's usecase and stream. -ENOMEM leaves the slot as it was.
int32_t hdo_create(struct avplay_session** slot);

// Builds the player for the stream. After a failure nothing of it is left in the service.
int32_t hdo_open(struct avplay_session* hdo);

// Feeds the player; blocks while it has no room, and gives up after a second without any (a tenth
// of one while paused). Always `bytes` (at most INT32_MAX): what the player does not take is
// logged.
int32_t hdo_write(struct avplay_session* hdo, const void* buffer, size_t bytes);

// 0 for a null record.
int32_t hdo_get_buffer_size(struct avplay_session* hdo);  // bytes
int32_t hdo_get_latency(struct avplay_session* hdo);      // milliseconds

// Stores the frames that the player has decoded; 0 while it has none.
int32_t hdo_get_tstamp(struct avplay_session* hdo, uint64_t* frames);

int32_t hdo_pause(struct avplay_session* hdo);
int32_t hdo_resume(struct avplay_session* hdo);
int32_t hdo_flush(struct avplay_session* hdo);
int32_t hdo_drain(struct avplay_session* hdo, bool early_notify);

// Tears the player side of the stream down, whatever its steps give. Always 0.
int32_t hdo_close(struct avplay_session* hdo);

// Closes what is open and frees the record.
void hdo_destroy(struct avplay_session* hdo);

// Obtains the AV-sync source that tunnel streams play against and stores its id, or gives it back.
// Other threads read the id without a lock: it is stored with store_relaxed().
int32_t hdo_create_hwsync_source(uint32_t* id);
int32_t hdo_destroy_hwsync_source(uint32_t id);

}  // extern "C"
