// How input streams drive the card.
#pragma once

#include <tinyalsa/asoundlib.h>

// 48000 Hz stereo in 4 periods of 512 frames. Exported and writable: each open of an input stream
// copies it as it then stands.
extern "C" struct pcm_config pcm_config_ai_low_latency;

// What a stream that is opened now gets: the above, with periods of 512 frames whatever it says.
struct pcm_config in_pcm_config();
