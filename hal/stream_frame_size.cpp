#include "hal/stream_frame_size.h"

#include "records/sample_format.h"

size_t stream_frame_size(const struct audio_stream* stream,
                         uint32_t (*channel_count)(audio_channel_mask_t mask)) {
    const audio_format_t format = stream->get_format(stream);
    if (!has_sample_frames(format)) {
        return 1;
    }
    return static_cast<size_t>(bytes_per_sample(format)) *
           channel_count(stream->get_channels(stream));
}
