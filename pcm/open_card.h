// Opening of a PCM of the sound card, for playback and capture alike.
#pragma once

#include <stdint.h>

#include <tinyalsa/asoundlib.h>

// A handle that is ready, for the caller to close; null, with an error line under the tag that says
// why, when the card does not open.
struct pcm* open_card(uint32_t card, uint32_t device, unsigned flags,
                      const struct pcm_config& config, const char* log_tag);
