#include "hal/out_backend.h"

#include "direct/hdo.h"
#include "pcm/hpo.h"

namespace {

constexpr out_backend pcm_backend = {
    .name = "hpo",
    .open = [](hal_stream_out* out) { return hpo_open(out->hpo); },
    .write = [](hal_stream_out* out, const void* buffer,
                size_t bytes) { return hpo_write(out->hpo, buffer, bytes); },
    .close = [](hal_stream_out* out) { return hpo_close(out->hpo); },
    .get_buffer_size = [](hal_stream_out* out) { return hpo_get_buffer_size(out->hpo); },
    .get_latency = [](hal_stream_out* out) { return hpo_get_latency(out->hpo); },
    .get_tstamp = [](hal_stream_out* out,
                     uint64_t* frames) { return hpo_get_tstamp(out->hpo, frames); },
};

constexpr out_backend direct_backend = {
    .name = "hdo",
    .open = [](hal_stream_out* out) { return hdo_open(out->hdo); },
    .write = [](hal_stream_out* out, const void* buffer,
                size_t bytes) { return hdo_write(out->hdo, buffer, bytes); },
    .close = [](hal_stream_out* out) { return hdo_close(out->hdo); },
    .get_buffer_size = [](hal_stream_out* out) { return hdo_get_buffer_size(out->hdo); },
    .get_latency = [](hal_stream_out* out) { return hdo_get_latency(out->hdo); },
    .get_tstamp = [](hal_stream_out* out,
                     uint64_t* frames) { return hdo_get_tstamp(out->hdo, frames); },
};

}  // namespace

const out_backend* out_backend_of(const hal_stream_out* out) {
    if (is_direct(out->usecase)) {
        return &direct_backend;
    }
    return out->usecase == USECASE_PRIMARY_PCM ? &pcm_backend : nullptr;
}
