#include "hal/out_open.h"

#include <errno.h>
#include <stdlib.h>

#include <annexk/annexk.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "direct/hdo.h"
#include "hal/arguments.h"
#include "hal/channel_mask.h"
#include "hal/out_operations.h"
#include "hal/out_pcm_config.h"
#include "pcm/hpo.h"
#include "records/stream_out.h"

namespace {

constexpr const char* log_tag = "audio_hal";

constexpr uint32_t default_rate_hz = 48000;

// The operations of every output stream. Later releases add some at the end, which stay null.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
constexpr struct audio_stream_out out_operations = {
    .common =
        {
            .get_sample_rate = out_get_sample_rate,
            .set_sample_rate = out_set_sample_rate,
            .get_buffer_size = out_get_buffer_size,
            .get_channels = out_get_channels,
            .get_format = out_get_format,
            .set_format = out_set_format,
            .standby = out_standby,
            .dump = out_dump,
            .get_device = nullptr,  // the framework keeps the routing itself
            .set_device = nullptr,
            .set_parameters = out_set_parameters,
            .get_parameters = out_get_parameters,
            .add_audio_effect = out_add_audio_effect,
            .remove_audio_effect = out_remove_audio_effect,
        },
    .get_latency = out_get_latency,
    .set_volume = out_set_volume,
    .write = out_write,
    .get_render_position = out_get_render_position,
    .get_next_write_timestamp = out_get_next_write_timestamp,
    .set_callback = nullptr,  // this and the next four: direct streams only
    .pause = nullptr,
    .resume = nullptr,
    .drain = nullptr,
    .flush = nullptr,
    .get_presentation_position = out_get_presentation_position,
    .start = nullptr,  // this and the next three: memory-mapped streams only, which we have not
    .stop = nullptr,
    .create_mmap_buffer = nullptr,
    .get_mmap_position = nullptr,
    .update_source_metadata = nullptr,  // what plays makes no difference here
};
#pragma GCC diagnostic pop

out_usecase usecase_for(audio_output_flags_t flags) {
    if ((flags & AUDIO_OUTPUT_FLAG_DIRECT) == 0) {
        return USECASE_PRIMARY_PCM;
    }
    return (flags & AUDIO_OUTPUT_FLAG_HW_AV_SYNC) != 0 ? USECASE_DIRECT_HWSYNC
                                                       : USECASE_DIRECT_PASSTHRU;
}

// The operations of a stream of the usecase.
struct audio_stream_out operations_for(out_usecase usecase) {
    struct audio_stream_out operations = out_operations;
    if (is_direct(usecase)) {
        operations.set_callback = out_set_callback;
        operations.pause = out_pause;
        operations.resume = out_resume;
        operations.drain = out_drain;
        operations.flush = out_flush;
    }
    return operations;
}

// A whole record, still without its back end.
hal_stream_out new_record(hal_device* dev, audio_devices_t devices, audio_output_flags_t flags,
                          const struct audio_config& request) {
    const out_usecase usecase = usecase_for(flags);
    const audio_channel_mask_t channel_mask =
        request.channel_mask != 0 ? request.channel_mask
                                  : static_cast<audio_channel_mask_t>(AUDIO_CHANNEL_OUT_STEREO);
    return {
        .stream = operations_for(usecase),
        .hpo = nullptr,
        .hdo = nullptr,
        .config =
            out_pcm_config(usecase, channel_count_from_out_mask(channel_mask), request.sample_rate),
        .dev = dev,
        .sample_rate = request.sample_rate != 0 ? request.sample_rate : default_rate_hz,
        .channel_mask = channel_mask,
        .format = request.format != 0 ? request.format : AUDIO_FORMAT_PCM_16_BIT,
        .flags = flags,
        .devices = devices,
        .lock = {},
        .usecase = usecase,
        .standby = true,
        .supported_channel_masks = {request.channel_mask},
        .supported_formats = {static_cast<uint32_t>(request.format)},
        .supported_sample_rates = {request.sample_rate},
    };
}

// Creates the back end of the stream's usecase, with its way back to the stream.
int create_backend(hal_stream_out* out) {
    if (is_direct(out->usecase)) {
        const int32_t error = hdo_create(&out->hdo);
        if (error != 0) {
            HAL_LOGE("%s: hdo_create failed (0x%x)", "adev_open_output_stream",
                     static_cast<unsigned>(error));
            return error;
        }
        out->hdo->stream = out;
        out->hdo->usecase = out->usecase;
        return 0;
    }
    const int32_t error = hpo_create(&out->hpo);
    if (error != 0) {
        HAL_LOGE("%s: hpo_create failed (0x%x)", "adev_open_output_stream",
                 static_cast<unsigned>(error));
        return error;
    }
    out->hpo->out = out;
    return 0;
}

}  // namespace

int adev_open_output_stream(struct audio_hw_device* dev, audio_io_handle_t /*handle*/,
                            audio_devices_t devices, audio_output_flags_t flags,
                            struct audio_config* config, struct audio_stream_out** stream_out,
                            const char* address) {
    if (stream_out != nullptr) {
        *stream_out = nullptr;
    }
    if (any_null(__func__, dev, config, stream_out)) {
        return -EINVAL;
    }
    get_platform_property();
    HAL_LOGD(
        "%s: enter: devices(%#x) sample_rate(%d) channel_mask(%#x) flags(%#x) audioformat(0x%x) "
        "address(%s) ",
        __func__, static_cast<unsigned>(devices), static_cast<int>(config->sample_rate),
        static_cast<unsigned>(config->channel_mask), static_cast<unsigned>(flags),
        static_cast<unsigned>(config->format), address != nullptr ? address : "NULL VALUE");

    auto* const out = static_cast<hal_stream_out*>(malloc(sizeof(hal_stream_out)));
    if (out == nullptr) {
        HAL_LOGE("%s: malloc size(%d) failed", __func__, static_cast<int>(sizeof(hal_stream_out)));
        return -ENOMEM;
    }
    const int clear_error = memset_s(out, sizeof(*out), 0, sizeof(*out));
    if (clear_error != 0) {
        HAL_LOGE("%s: memset_s out failed, ret(0x%x)", __func__,
                 static_cast<unsigned>(clear_error));
    }
    *out = new_record(to_hal_device(dev), devices, flags, *config);

    if (is_direct(out->usecase) && !load_relaxed(out->dev->hdo_supported)) {
        free(out);
        HAL_LOGE("%s: not support hdo", __func__);
        return -ENOMEM;
    }
    const int error = create_backend(out);
    if (error != 0) {
        free(out);
        return error;
    }
    *stream_out = &out->stream;
    HAL_LOGD(
        "%s: return:out(%p) devices(%#x) sample_rate(%d) channel_mask(%#x) flags(%#x) "
        "audioformat(0x%x) usecase(0x%x)",
        __func__, static_cast<void*>(out), static_cast<unsigned>(devices),
        static_cast<int>(config->sample_rate), static_cast<unsigned>(config->channel_mask),
        static_cast<unsigned>(flags), static_cast<unsigned>(config->format),
        static_cast<unsigned>(out->usecase));
    return 0;
}

void adev_close_output_stream(struct audio_hw_device* /*dev*/, struct audio_stream_out* stream) {
    HAL_LOGD("%s: out(%p)", __func__, static_cast<void*>(stream));
    if (any_null(__func__, stream)) {
        return;
    }
    hal_stream_out* const out = to_hal_stream_out(stream);
    if (out->hdo != nullptr) {
        hdo_destroy(out->hdo);
        out->hdo = nullptr;
    }
    if (out->hpo != nullptr) {
        hpo_destroy(out->hpo);
    }
    free(out);
}
