// The back end that plays into a WAV file.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <time.h>

#include "pcm_format.h"
#include "pcm_handle.h"
#include "wav_file.h"
#include "wav_pace.h"

namespace tinyalsa {

namespace {

constexpr char kPaceVariable[] = "CORVEX_WAV_PACE";

struct wav_stream {
    wav_stream(std::unique_ptr<wav_file> to, bool real, const pcm& handle)
        : file(std::move(to)), real_pace(real), pace(handle.config.rate, handle.buffer_frames) {}

    const std::unique_ptr<wav_file> file;  // the writing thread's
    const bool real_pace;
    std::atomic<bool> stopped{false};

    // The position, which other threads ask for. Not held while a write waits.
    std::mutex lock;
    wav_pace pace;
};

wav_stream& stream_of(const pcm& handle) {
    return *static_cast<wav_stream*>(handle.stream);
}

uint64_t now_ns() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

void sleep_until(uint64_t time_ns) {
    timespec until = {};
    until.tv_sec = static_cast<time_t>(time_ns / 1000000000);
    until.tv_nsec = static_cast<long>(time_ns % 1000000000);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

int wav_open(pcm& handle, const pcm_target& target) {
    const char* pace = std::getenv(kPaceVariable);
    const bool real = pace != nullptr && std::strcmp(pace, "real") == 0;
    if (!real && pace != nullptr && *pace != '\0' && std::strcmp(pace, "free") != 0) {
        return fail_open(handle, target, -EINVAL, "%s is \"%.40s\"; it must be real or free",
                         kPaceVariable, pace);
    }
    if (target.name.empty()) {
        return fail_open(handle, target, -EINVAL, "the path behind wav: is missing");
    }
    const sample_format& samples = *find_format(format_value(handle.config));
    if (!samples.fits_wav) {
        return fail_open(handle, target, -EINVAL,
                         "a WAV file holds S16_LE, S24_3LE or S32_LE samples, not %s",
                         samples.name);
    }
    const wav_layout layout = {handle.config.channels, handle.config.rate, samples.bytes};
    if (!fits_wav(layout)) {
        return fail_open(handle, target, -EINVAL,
                         "the frames are too large or too many a second for a WAV file");
    }
    std::unique_ptr<wav_file> file;
    std::string reason;
    if (const int error = wav_file::open(target.name, layout, file, reason); error < 0) {
        return fail_open(handle, target, error, "%s: %s", reason.c_str(), std::strerror(-error));
    }
    handle.buffer_frames = handle.config.period_size * handle.config.period_count;
    handle.stream = new wav_stream(std::move(file), real, handle);
    return 0;
}

// Waits for room under the real pace. Returns how many of the frames may go now: 0 only when the
// handle must not block.
uint32_t wait_for_room(const pcm& handle, wav_stream& stream, unsigned long frames) {
    const auto most = static_cast<uint32_t>(std::min<unsigned long>(frames, handle.buffer_frames));
    for (;;) {
        uint64_t wake_ns = 0;
        {
            const std::lock_guard<std::mutex> guard(stream.lock);
            const uint64_t now = now_ns();
            if (const uint32_t room = stream.pace.free_frames(now);
                room > 0 || handle.is_nonblocking()) {
                return std::min(room, most);
            }
            wake_ns = stream.pace.time_of_room_ns(std::min(most, handle.config.period_size), now);
        }
        sleep_until(wake_ns);
    }
}

long wav_write(pcm& handle, const void* data, unsigned long frames) {
    wav_stream& stream = stream_of(handle);
    stream.stopped = false;
    const char* bytes = static_cast<const char*>(data);
    unsigned long done = 0;
    while (done < frames) {
        const unsigned long count =
            stream.real_pace ? wait_for_room(handle, stream, frames - done) : frames - done;
        if (count == 0) {
            return done > 0 ? static_cast<long>(done) : -EAGAIN;
        }
        const int error = stream.file->append(bytes + done * handle.frame_bytes, count);
        if (error < 0) {
            return fail(handle, error, "playback failed on the WAV file %s: %s",
                        handle.name.c_str(),
                        error == -EFBIG ? "no more fits in this file" : std::strerror(-error));
        }
        if (stream.real_pace) {
            const std::lock_guard<std::mutex> guard(stream.lock);
            stream.pace.add(static_cast<uint32_t>(count), now_ns());
        }
        done += count;
    }
    return static_cast<long>(done);
}

int wav_htimestamp(pcm& handle, unsigned* avail_frames, timespec* timestamp) {
    wav_stream& stream = stream_of(handle);
    if (stream.stopped) {
        return -EBADFD;
    }
    const std::lock_guard<std::mutex> guard(stream.lock);
    *avail_frames = stream.real_pace ? stream.pace.free_frames(now_ns()) : handle.buffer_frames;
    clock_gettime(handle.clock(), timestamp);
    return 0;
}

int wav_prepare(pcm& handle) {
    stream_of(handle).stopped = false;
    return 0;
}

int wav_start(pcm& handle) {
    return stream_of(handle).stopped ? -EBADFD : 0;
}

int wav_stop(pcm& handle) {
    wav_stream& stream = stream_of(handle);
    const std::lock_guard<std::mutex> guard(stream.lock);
    stream.pace.drop();
    stream.stopped = true;
    return 0;
}

void wav_close(pcm& handle) {
    delete &stream_of(handle);
}

}  // namespace

const pcm_backend kWavBackend = {
    .open = wav_open,
    .write = wav_write,
    .read = nullptr,  // Nothing is captured from a file.
    .htimestamp = wav_htimestamp,
    .prepare = wav_prepare,
    .start = wav_start,
    .stop = wav_stop,
    .close = wav_close,
};

}  // namespace tinyalsa
