// How long a buffer would have taken, slept when the card is not there to take it.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Sleeps for the duration of `bytes` bytes; signals do not cut it short. Neither the frame size
// nor the rate is 0.
void sleep_for_buffer_duration(size_t bytes, size_t frame_bytes, uint32_t rate_hz);
