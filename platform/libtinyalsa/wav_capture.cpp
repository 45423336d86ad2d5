// The back end that captures from a WAV file.

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <time.h>

#include "pcm_handle.h"
#include "wav_flow.h"
#include "wav_request.h"
#include "wav_source.h"

namespace tinyalsa {

namespace {

struct wav_capture {
    wav_capture(std::unique_ptr<wav_source> from, bool real_pace, const pcm& handle)
        : source(std::move(from)), flow(handle, real_pace) {}

    const std::unique_ptr<wav_source> source;  // the reading thread's
    wav_flow flow;
    std::atomic<bool> running{false};  // the card fills its buffer: since the first read or a start
    std::atomic<bool> stopped{false};
};

wav_capture& stream_of(const pcm& handle) {
    return *static_cast<wav_capture*>(handle.stream);
}

int capture_open(pcm& handle, const pcm_target& target) {
    wav_request request = {};
    if (const int error = read_wav_request(handle, target, request); error < 0) {
        return error;
    }
    std::unique_ptr<wav_source> source;
    std::string reason;
    if (const int error = wav_source::open(target.name, request.layout, source, reason);
        error < 0) {
        return fail_open(handle, target, error, "%s: %s", reason.c_str(), std::strerror(-error));
    }
    handle.stream = new wav_capture(std::move(source), request.real_pace, handle);
    return 0;
}

void run(wav_capture& stream) {
    stream.stopped = false;
    if (!stream.running.exchange(true)) {
        stream.flow.start_empty();
    }
}

long capture_read(pcm& handle, void* data, unsigned long frames) {
    wav_capture& stream = stream_of(handle);
    run(stream);
    char* bytes = static_cast<char*>(data);
    unsigned long done = 0;
    while (done < frames) {
        const unsigned long count = stream.flow.wait(handle, frames - done);
        if (count == 0) {
            return done > 0 ? static_cast<long>(done) : -EAGAIN;
        }
        stream.source->read(bytes + done * handle.frame_bytes, count);
        stream.flow.moved(count);
        done += count;
    }
    return static_cast<long>(done);
}

int capture_htimestamp(pcm& handle, unsigned* avail_frames, timespec* timestamp) {
    wav_capture& stream = stream_of(handle);
    if (stream.stopped) {
        return -EBADFD;
    }
    *avail_frames = stream.running ? stream.flow.ready_frames() : 0;
    clock_gettime(handle.clock(), timestamp);
    return 0;
}

int capture_prepare(pcm& handle) {
    stream_of(handle).stopped = false;
    return 0;
}

int capture_start(pcm& handle) {
    wav_capture& stream = stream_of(handle);
    if (stream.stopped) {
        return -EBADFD;
    }
    run(stream);
    return 0;
}

int capture_stop(pcm& handle) {
    wav_capture& stream = stream_of(handle);
    stream.stopped = true;
    stream.running = false;
    stream.flow.drop();
    return 0;
}

void capture_close(pcm& handle) {
    delete &stream_of(handle);
}

}  // namespace

const pcm_backend kWavCaptureBackend = {
    .open = capture_open,
    .write = nullptr,  // the handle's direction has been checked
    .read = capture_read,
    .htimestamp = capture_htimestamp,
    .prepare = capture_prepare,
    .start = capture_start,
    .stop = capture_stop,
    .close = capture_close,
};

}  // namespace tinyalsa
