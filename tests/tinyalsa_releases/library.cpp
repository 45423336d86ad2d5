// The library of make_release.sh, whichever release's header it is compiled with: a card that takes
// and gives at once, with its whole buffer free.
#include <string.h>
#include <time.h>

#include <tinyalsa/asoundlib.h>

#include "tests/support/parameter_of.h"

struct pcm {
    struct pcm_config config;
};

extern "C" {

struct pcm* pcm_open(unsigned, unsigned, unsigned, parameter_of<&pcm_open, 3> config) {
    auto* const pcm = new struct pcm;
    pcm->config = *config;
    return pcm;
}

int pcm_close(struct pcm* pcm) {
    delete pcm;
    return 0;
}

int pcm_is_ready(parameter_of<&pcm_is_ready, 0>) {
    return 1;
}

const char* pcm_get_error(parameter_of<&pcm_get_error, 0>) {
    return "";
}

unsigned pcm_frames_to_bytes(parameter_of<&pcm_frames_to_bytes, 0> pcm, unsigned frames) {
    return frames * pcm->config.channels * 2;
}

int pcm_get_htimestamp(struct pcm* pcm, unsigned* avail, struct timespec* time) {
    *avail = pcm->config.period_size * pcm->config.period_count;
    return clock_gettime(CLOCK_MONOTONIC, time);
}

int pcm_write(struct pcm*, const void*, unsigned) {
    return 0;
}

int pcm_read(struct pcm*, void* data, unsigned bytes) {
    memset(data, 0, bytes);
    return 0;
}

}  // extern "C"
