// The back end that plays into a WAV file.

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <time.h>

#include "pcm_handle.h"
#include "wav_file.h"
#include "wav_flow.h"
#include "wav_request.h"

namespace tinyalsa {

namespace {

struct wav_playback {
    wav_playback(std::unique_ptr<wav_file> to, bool real_pace, const pcm& handle)
        : file(std::move(to)), flow(handle, real_pace) {}

    const std::unique_ptr<wav_file> file;  // the writing thread's
    wav_flow flow;
    std::atomic<bool> stopped{false};
};

wav_playback& stream_of(const pcm& handle) {
    return *static_cast<wav_playback*>(handle.stream);
}

int playback_open(pcm& handle, const pcm_target& target) {
    wav_request request = {};
    if (const int error = read_wav_request(handle, target, request); error < 0) {
        return error;
    }
    std::unique_ptr<wav_file> file;
    std::string reason;
    if (const int error = wav_file::open(target.name, request.layout, file, reason); error < 0) {
        return fail_open(handle, target, error, "%s: %s", reason.c_str(), std::strerror(-error));
    }
    handle.stream = new wav_playback(std::move(file), request.real_pace, handle);
    return 0;
}

long playback_write(pcm& handle, const void* data, unsigned long frames) {
    wav_playback& stream = stream_of(handle);
    stream.stopped = false;
    const char* bytes = static_cast<const char*>(data);
    unsigned long done = 0;
    while (done < frames) {
        const unsigned long count = stream.flow.wait(handle, frames - done);
        if (count == 0) {
            return done > 0 ? static_cast<long>(done) : -EAGAIN;
        }
        const int error = stream.file->append(bytes + done * handle.frame_bytes, count);
        if (error < 0) {
            return fail(handle, error, "playback failed on the WAV file %s: %s",
                        handle.name.c_str(),
                        error == -EFBIG ? "no more fits in this file" : std::strerror(-error));
        }
        stream.flow.moved(count);
        done += count;
    }
    return static_cast<long>(done);
}

int playback_htimestamp(pcm& handle, unsigned* avail_frames, timespec* timestamp) {
    wav_playback& stream = stream_of(handle);
    if (stream.stopped) {
        return -EBADFD;
    }
    *avail_frames = stream.flow.ready_frames();
    clock_gettime(handle.clock(), timestamp);
    return 0;
}

int playback_prepare(pcm& handle) {
    stream_of(handle).stopped = false;
    return 0;
}

int playback_start(pcm& handle) {
    return stream_of(handle).stopped ? -EBADFD : 0;
}

int playback_stop(pcm& handle) {
    wav_playback& stream = stream_of(handle);
    stream.flow.drop();
    stream.stopped = true;
    return 0;
}

void playback_close(pcm& handle) {
    delete &stream_of(handle);
}

}  // namespace

const pcm_backend kWavPlaybackBackend = {
    .open = playback_open,
    .write = playback_write,
    .read = nullptr,  // the handle's direction has been checked
    .htimestamp = playback_htimestamp,
    .prepare = playback_prepare,
    .start = playback_start,
    .stop = playback_stop,
    .close = playback_close,
};

}  // namespace tinyalsa
