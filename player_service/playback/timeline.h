// Compares a stream's timestamps with the sound between them.
//
// The first timestamp is the start of a stretch. Within a stretch every timestamp should be as far
// from its start as the sound is; the difference is the drift. One that jumps by more than the
// tolerance from what the sound since the timestamp before makes it, or that is lower than the one
// before, is an event of its own and starts the next stretch. One thread at a time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace player_service {

// Timestamps are whole milliseconds, cut off, and so may be a millisecond off on either side.
constexpr int64_t kTimelineToleranceUs = 5000;

struct timeline_entry {
    enum class kind { start, follows, gap, overlap, reordered };

    uint32_t pts_ms = 0;
    uint64_t frame = 0;  // of the output, counted since the stream's start
    uint32_t rate_hz = 0;
    int64_t drift_us = 0;  // how far the sound is ahead of the timestamps, within the stretch
    kind what = kind::start;
};

const char* to_text(timeline_entry::kind what);

class timeline {
  public:
    // `sound_us` is the duration of the output ahead of `frame`.
    timeline_entry add(uint32_t pts_ms, uint64_t frame, uint32_t rate_hz, uint64_t sound_us);

  private:
    bool begun_ = false;
    uint32_t stretch_pts_ms_ = 0;
    uint64_t stretch_sound_us_ = 0;
    uint32_t last_pts_ms_ = 0;
    uint64_t last_sound_us_ = 0;
};

// The entries of all players as CSV, each line complete as soon as it is there. Any thread.
class timeline_file {
  public:
    // Starts the file over. Null with a reason when it cannot be written.
    static std::unique_ptr<timeline_file> create(const std::string& path, std::string& reason);

    void add(uint32_t player, const timeline_entry& entry);

  private:
    struct file_closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using file_ptr = std::unique_ptr<std::FILE, file_closer>;

    timeline_file(file_ptr file, std::string path)
        : file_(std::move(file)), path_(std::move(path)) {}

    std::mutex mutex_;
    const file_ptr file_;  // guarded by mutex_
    bool failed_ = false;  // guarded by mutex_
    const std::string path_;
};

}  // namespace player_service
