// Moving frames through alsa-lib, over underruns, overruns and suspends.
#pragma once

struct pcm;

namespace tinyalsa {

// As the transfers of pcm_backend.
long alsa_write(pcm& handle, const void* data, unsigned long frames);
long alsa_read(pcm& handle, void* data, unsigned long frames);

}  // namespace tinyalsa
