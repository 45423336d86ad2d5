#include "hal/in_open.h"

#include <algorithm>
#include <errno.h>
#include <iterator>
#include <stdlib.h>

#include <annexk/annexk.h>

#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/channel_mask.h"
#include "hal/in_channels.h"
#include "hal/in_operations.h"
#include "hal/in_pcm_config.h"
#include "hal/in_provider.h"
#include "hal/voice_input.h"
#include "pcm/hpi.h"
#include "records/stream_in.h"

namespace {

constexpr const char* log_tag = "audio_hal";

constexpr uint32_t rates_hz[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

// The platform's default.
constexpr uint32_t resampler_quality = 4;

// The operations of every input stream. Later releases add some at the end, which stay null.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
constexpr struct audio_stream_in in_operations = {
    .common =
        {
            .get_sample_rate = in_get_sample_rate,
            .set_sample_rate = in_set_sample_rate,
            .get_buffer_size = in_get_buffer_size,
            .get_channels = in_get_channels,
            .get_format = in_get_format,
            .set_format = in_set_format,
            .standby = in_standby,
            .dump = in_dump,
            .get_device = nullptr,  // the framework keeps the routing itself
            .set_device = nullptr,
            .set_parameters = in_set_parameters,
            .get_parameters = in_get_parameters,
            .add_audio_effect = in_add_audio_effect,
            .remove_audio_effect = in_remove_audio_effect,
        },
    .set_gain = in_set_gain,
    .read = in_read,
    .get_input_frames_lost = in_get_input_frames_lost,
    .get_capture_position = in_getCapturePosition,
    .start = in_start,
    .stop = in_stop,
    .create_mmap_buffer = nullptr,  // this and the next: memory-mapped streams, which we have not
    .get_mmap_position = nullptr,
    .get_active_microphones = nullptr,  // the device describes its one microphone
    .update_sink_metadata = nullptr,    // who listens makes no difference here
};
#pragma GCC diagnostic pop

// 0, or -EINVAL for what no stream can be opened with; the first fault is the one that is logged.
int check_request(const struct audio_config& request, uint32_t channels) {
    if (request.format != AUDIO_FORMAT_PCM_16_BIT) {
        return -EINVAL;
    }
    if (channels != 1 && channels != 2) {
        HAL_LOGE("Invalid channel: %d", static_cast<int>(channels));
        return -EINVAL;
    }
    if (std::find(std::begin(rates_hz), std::end(rates_hz), request.sample_rate) ==
        std::end(rates_hz)) {
        HAL_LOGE("Invalid sample_rate: %d", static_cast<int>(request.sample_rate));
        return -EINVAL;
    }
    return 0;
}

// A whole record, still without what it owns.
hal_stream_in new_record(hal_device* dev, const struct audio_config& request) {
    return {
        .stream = in_operations,
        .hpi = nullptr,
        .config = in_pcm_config(),
        .dev = dev,
        .sample_rate = request.sample_rate,
        .channel_mask = request.channel_mask,
        .format = request.format,
        .lock = {},
        .usecase = USECASE_CAPTURE,
        .resampler = nullptr,
        .buf_provider = {},
        .frames_in = 0,
        .rsc_workbuffer = nullptr,
        .buffer_hal = nullptr,
        .standby = true,
        .supported_channel_masks = {request.channel_mask},
        .supported_formats = {static_cast<uint32_t>(request.format)},
        .supported_sample_rates = {request.sample_rate},
    };
}

// Converts from the card's rate where the stream has another one. 0 or what the library answered.
int make_resampler(hal_stream_in* in) {
    if (in->sample_rate == in->config.rate) {
        HAL_LOGD("no resampler needed");
        return 0;
    }
    in->buf_provider = {.get_next_buffer = rsrc_get_next_buffer,
                        .release_buffer = rsrc_release_buffer};
    HAL_LOGD("create_resampler user_rate:%d hal_rate:%d", static_cast<int>(in->sample_rate),
             static_cast<int>(in->config.rate));
    const int error = create_resampler(in->config.rate, in->sample_rate, resampler_channels(in),
                                       resampler_quality, &in->buf_provider, &in->resampler);
    if (error != 0) {
        in->resampler = nullptr;
        HAL_LOGE("create_resampler failed ret(%d)", error);
    }
    return error;
}

// 0, or -1 when a stream that needs the hal buffer cannot have it.
int make_hal_buffer(hal_stream_in* in) {
    if (!folds_channels(in)) {
        return 0;
    }
    in->buffer_hal = malloc(hal_buffer_bytes);
    if (in->buffer_hal == nullptr) {
        HAL_LOGE("malloc in->buffer_hal failed \n");
        return -1;
    }
    // A read that finds no card hands out what is in here.
    if (memset_s(in->buffer_hal, hal_buffer_bytes, 0, hal_buffer_bytes) != 0) {
        HAL_LOGE("%s: memset_s buffer_hal failed", "adev_open_input_stream");
    }
    return 0;
}

void release_stream_resampler(hal_stream_in* in) {
    release_resampler(in->resampler);
    in->resampler = nullptr;
}

// Makes what the stream owns. A failure leaves nothing of it.
int set_up(hal_stream_in* in) {
    int error = hpi_create(&in->hpi);
    if (error != 0) {
        HAL_LOGE("%s: hpi_create failed (0x%x)", "adev_open_input_stream",
                 static_cast<unsigned>(error));
        return error;
    }
    in->hpi->in = in;
    HAL_LOGD("adev_open_input_stream return: sample_rate: %u, channels: %x, format: %d",
             in->sample_rate, in->channel_mask, static_cast<int>(in->format));
    error = make_resampler(in);
    if (error != 0) {
        hpi_destroy(in->hpi);
        HAL_LOGE("create_input_resampler error : %d", error);
        return -1;
    }
    error = make_hal_buffer(in);
    if (error != 0) {
        if (in->resampler != nullptr) {
            release_stream_resampler(in);
        }
        hpi_destroy(in->hpi);
    }
    return error;
}

}  // namespace

int adev_open_input_stream(struct audio_hw_device* dev, audio_io_handle_t /*handle*/,
                           audio_devices_t devices, struct audio_config* config,
                           struct audio_stream_in** stream_in, audio_input_flags_t flags,
                           const char* /*address*/, audio_source_t source) {
    if (stream_in != nullptr) {
        *stream_in = nullptr;
    }
    if (any_null(__func__, dev, config, stream_in)) {
        return -EINVAL;
    }
    HAL_LOGD(
        "%s: enter: devices(%#x) sample_rate(%d) channel_mask(%#x) flags(%#x) audioformat(0x%x) "
        "source(%#x)",
        __func__, static_cast<unsigned>(devices), static_cast<int>(config->sample_rate),
        static_cast<unsigned>(config->channel_mask), static_cast<unsigned>(flags),
        static_cast<unsigned>(config->format), static_cast<unsigned>(source));
    const int fault = check_request(*config, channel_count_from_in_mask(config->channel_mask));
    if (fault != 0) {
        return fault;
    }

    auto* const in = static_cast<hal_stream_in*>(malloc(sizeof(hal_stream_in)));
    if (in == nullptr) {
        HAL_LOGE("%s: malloc size(%d) failed", __func__, static_cast<int>(sizeof(hal_stream_in)));
        return -ENOMEM;
    }
    if (memset_s(in, sizeof(*in), 0, sizeof(*in)) != 0) {
        HAL_LOGE("%s: memset_s in failed", __func__);
    }
    *in = new_record(to_hal_device(dev), *config);

    const int error = set_up(in);
    if (error != 0) {
        free(in);
        return error;
    }
    *stream_in = &in->stream;
    custom_open(config, stream_in);
    return 0;
}

void adev_close_input_stream(struct audio_hw_device* /*dev*/, struct audio_stream_in* stream) {
    HAL_LOGD("%s in(%p)", __func__, static_cast<void*>(stream));
    if (any_null(__func__, stream)) {
        return;
    }
    hal_stream_in* const in = to_hal_stream_in(stream);
    custom_close(stream);
    in_standby(&stream->common);
    hpi_destroy(in->hpi);
    if (in->resampler != nullptr) {
        release_stream_resampler(in);
        HAL_LOGD("adev_close_input_stream release_resampler\n");
    }
    free(in->rsc_workbuffer);
    free(in->buffer_hal);
    free(in);
}
