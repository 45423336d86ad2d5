#include <algorithm>
#include <errno.h>

#include "diag/debug_switches.h"
#include "diag/lock.h"
#include "diag/log.h"
#include "diag/relaxed.h"
#include "hal/arguments.h"
#include "hal/buffer_duration.h"
#include "hal/channel_mask.h"
#include "hal/in_channels.h"
#include "hal/in_fold.h"
#include "hal/in_operations.h"
#include "hal/stream_frame_size.h"
#include "pcm/hpi.h"
#include "records/sample_format.h"
#include "records/stream_in.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// One read. The sizes follow the format that was set last, while card and resampler move 16-bit
// samples whatever it says: nothing here may trust the two to agree.
struct read_request {
    char* buffer;
    size_t bytes;
    size_t user_frames;
    size_t frame_size_hal;  // bytes of a card frame, if it had the stream's format

    // 16-bit samples of one channel that fit the buffer.
    size_t mono_room() const { return bytes / card_sample_bytes; }
};

// Frames that the hal buffer holds of one and of the other size.
size_t hal_buffer_frames(const hal_stream_in* in, const read_request& request) {
    return hal_buffer_bytes / std::max(request.frame_size_hal, card_frame_bytes(in));
}

// Opens the card of a stream in standby. False when it stays closed.
bool wake(hal_stream_in* in) HAL_REQUIRES(in->lock) {
    if (!in->standby) {
        return true;
    }
    int32_t error = 0;
    {
        const hal_lock device_lock(in->dev->lock, log_tag, "in_read");
        error = hpi_open(in->hpi);
    }
    if (error != 0) {
        HAL_LOGE("hpi_open failed(%x)", static_cast<unsigned>(error));
        return false;
    }
    in->standby = false;
    return true;
}

// Fills `frames` frames of resampler_channels(); fewer when the card fails. Returns how many.
size_t resample(hal_stream_in* in, void* destination, size_t frames) {
    auto* const samples = static_cast<int16_t*>(destination);
    size_t done = 0;
    while (done < frames) {
        const size_t wanted = frames - done;
        size_t given = wanted;
        const int error = in->resampler->resample_from_provider(
            in->resampler, samples + done * resampler_channels(in), &given);
        if (error != 0 && given == wanted) {
            given = 0;  // not told how many there are
        }
        HAL_LOGV("in_read: resample_from_provider req_frame(%d) real_frame(%d)\n",
                 static_cast<int>(wanted), static_cast<int>(given));
        if (given == 0) {
            break;
        }
        done += std::min(given, wanted);
    }
    return done;
}

// The stream has the card's channels: its frames go straight to the caller.
void read_straight(hal_stream_in* in, const read_request& request) {
    if (in->resampler == nullptr) {
        hpi_read(in->hpi, request.buffer, request.bytes);
        return;
    }
    const size_t room = request.bytes / (resampler_channels(in) * card_sample_bytes);
    resample(in, request.buffer, std::min(request.user_frames, room));
}

// Card frames for `user_frames` frames, into the hal buffer. Returns how many there are.
size_t fill_hal_buffer(hal_stream_in* in, const read_request& request, size_t user_frames) {
    if (in->resampler != nullptr) {
        return resample(in, in->buffer_hal, user_frames);
    }
    const size_t card_bytes = user_frames * request.frame_size_hal;
    hpi_read(in->hpi, in->buffer_hal, card_bytes);
    return std::min(user_frames, card_bytes / card_frame_bytes(in));
}

// The card's channels are folded to one, through the hal buffer as often as it takes.
void read_folded(hal_stream_in* in, const read_request& request) {
    const size_t most = hal_buffer_frames(in, request);
    size_t read_frames = 0;
    size_t stored = 0;
    bool card_failed = false;
    while (most > 0 && read_frames < request.user_frames && stored < request.mono_room()) {
        const size_t piece = std::min(request.user_frames - read_frames, most);
        const size_t room = request.mono_room() - stored;
        size_t got = piece;  // what the hal buffer held before, once the card has failed
        if (!card_failed) {
            got = fill_hal_buffer(in, request, piece);
            if (in->resampler != nullptr && got < piece) {
                card_failed = true;
                got = piece;
            }
        }
        const size_t folded = std::min(got, room);
        fold_channels(in->buffer_hal, in->config.channels,
                      request.buffer + stored * card_sample_bytes, folded);
        read_frames += piece;
        stored += folded;
    }
}

// What a mono read gives that found no card: what the hal buffer held before.
void fold_what_is_there(hal_stream_in* in, const read_request& request) {
    const size_t most = hal_buffer_frames(in, request);
    const size_t frames = std::min(request.user_frames, request.mono_room());
    for (size_t done = 0; most > 0 && done < frames; done += most) {
        fold_channels(in->buffer_hal, in->config.channels,
                      request.buffer + done * card_sample_bytes, std::min(frames - done, most));
    }
}

}  // namespace

ssize_t in_read(struct audio_stream_in* stream, void* buffer, size_t bytes) {
    if (any_null(__func__, stream) || (bytes > 0 && any_null(__func__, buffer))) {
        return -EINVAL;
    }
    hal_stream_in* const in = to_hal_stream_in(stream);
    const struct audio_stream* const common = &stream->common;
    const audio_format_t format = common->get_format(common);
    const size_t frame_size_hal =
        has_sample_frames(format) ? size_t{in->config.channels} * bytes_per_sample(format) : 1;
    HAL_LOGD("frame_size_hal:%d", static_cast<int>(frame_size_hal));
    trace_call(log_tag, __func__);
    const size_t frame_bytes = stream_frame_size(common, channel_count_from_in_mask);
    const uint32_t rate_hz = load_relaxed(in->sample_rate);
    if (frame_bytes == 0 || rate_hz == 0) {
        HAL_LOGE("in_read: stream framesize or sample_rate is 0");
        return -EINVAL;
    }
    if (bytes > INT32_MAX) {
        HAL_LOGE("%s: %zu bytes are more than one read takes", __func__, bytes);
        return -EINVAL;
    }
    const read_request request = {static_cast<char*>(buffer), bytes, bytes / frame_bytes,
                                  frame_size_hal};
    const bool folds = folds_channels(in);
    {
        const hal_lock lock(in->lock, log_tag, __func__);
        HAL_LOGV("in_read: user_frames(%d/%dms)\n", static_cast<int>(request.user_frames),
                 static_cast<int>(uint64_t{request.user_frames} * 1000 / rate_hz));
        if (folds) {
            HAL_LOGV("in_read: channel_mask is AUDIO_CHANNEL_IN_MONO\n");
        }
        if (in->usecase != USECASE_CAPTURE) {
            HAL_LOGE("%s:Invalid usecase %d", __func__, static_cast<int>(in->usecase));
            return static_cast<ssize_t>(bytes);
        }
        if (wake(in)) {
            if (folds) {
                read_folded(in, request);
            } else {
                read_straight(in, request);
            }
            return static_cast<ssize_t>(bytes);
        }
    }
    // Without the stream's lock, so that other operations need not wait for the sleep.
    HAL_LOGE("%s: usecase %d write failed  sleeping for buffer duration", __func__,
             static_cast<int>(in->usecase));
    sleep_for_buffer_duration(bytes, frame_bytes, rate_hz);
    if (folds) {
        const hal_lock lock(in->lock, log_tag, __func__);
        fold_what_is_there(in, request);
    }
    return static_cast<ssize_t>(bytes);
}

int in_standby(struct audio_stream* stream) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    hal_stream_in* const in = to_hal_stream_in(stream);
    const hal_lock lock(in->lock, log_tag, __func__);
    if (in->standby) {
        HAL_LOGE("in(%p) has standby before", static_cast<void*>(stream));
        return 0;
    }
    hpi_close(in->hpi);
    in->standby = true;
    return 0;
}
