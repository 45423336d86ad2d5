// What an open of a WAV file asks for.
#pragma once

#include "wav_header.h"

struct pcm;

namespace tinyalsa {

struct pcm_target;

struct wav_request {
    wav_layout layout;
    bool real_pace;  // as CORVEX_WAV_PACE says
};

// Reads the request out of the handle and the environment and sets the handle's buffer. Returns 0,
// or a negative errno with the handle's text for what no WAV file can do.
int read_wav_request(pcm& handle, const pcm_target& target, wav_request& request);

}  // namespace tinyalsa
