// The sound card's end of a stream, which is not there: pcm_read() of the module comes to this
// program first.
#pragma once

#include <cstddef>
#include <cstdint>

// From now on reads give frames of this sound, over and over, in place of the device's; null: they
// leave the reader's buffer as it is.
void feed_card(const int16_t* samples, size_t count);
