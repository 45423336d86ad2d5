// Hardware and software parameters: what a configuration means to alsa-lib.
#pragma once

#include <alsa/asoundlib.h>
#include <string>

struct pcm;

namespace tinyalsa {

// Both read the handle's configuration and flags and write back what the device gave: the first the
// period size and the buffer, the second the thresholds. They return 0 or a negative errno, then
// with a reason that names what was refused and what the device offers.
int set_hardware_params(pcm& handle, snd_pcm_t* stream, std::string& reason);
int set_software_params(pcm& handle, snd_pcm_t* stream, std::string& reason);

}  // namespace tinyalsa
