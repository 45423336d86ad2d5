#include "pcm/open_card.h"

#include <errno.h>
#include <string.h>

#include "diag/log.h"

struct pcm* open_card(uint32_t card, uint32_t device, unsigned flags,
                      const struct pcm_config& config, const char* log_tag) {
    // A copy, because some releases of the library take the configuration without const.
    struct pcm_config wanted = config;
    struct pcm* const pcm = pcm_open(card, device, flags, &wanted);
    if (pcm != nullptr && pcm_is_ready(pcm)) {
        return pcm;
    }
    // Without a handle the library has no text; it gives none only when memory is short.
    HAL_LOGE("pcm_open() failed: %s",
             log_text(pcm != nullptr ? pcm_get_error(pcm) : strerror(ENOMEM)));
    if (pcm != nullptr) {
        pcm_close(pcm);
    }
    return nullptr;
}
