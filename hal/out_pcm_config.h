// How each usecase drives tinyalsa, or what it tells the player.
#pragma once

#include <stdint.h>

#include <tinyalsa/asoundlib.h>

#include "records/usecase.h"

// The PCM usecase runs the card at 48000 Hz whatever rate was requested; a direct usecase takes the
// requested rate as it is, 0 included.
struct pcm_config out_pcm_config(out_usecase usecase, uint32_t channels,
                                 uint32_t requested_rate_hz);
