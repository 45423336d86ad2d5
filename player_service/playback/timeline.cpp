#include "player_service/playback/timeline.h"

#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "player_service/log.h"

namespace player_service {

const char* to_text(timeline_entry::kind what) {
    switch (what) {
        case timeline_entry::kind::start:
            return "start";
        case timeline_entry::kind::follows:
            return "follows";
        case timeline_entry::kind::gap:
            return "gap";
        case timeline_entry::kind::overlap:
            return "overlap";
        case timeline_entry::kind::reordered:
            return "reordered";
    }
    return "";
}

timeline_entry timeline::add(uint32_t pts_ms, uint64_t frame, uint32_t rate_hz, uint64_t sound_us) {
    using kind = timeline_entry::kind;
    timeline_entry entry;
    entry.pts_ms = pts_ms;
    entry.frame = frame;
    entry.rate_hz = rate_hz;
    if (begun_) {
        // Timestamps start over behind 49 days.
        const auto step_ms = static_cast<int32_t>(pts_ms - last_pts_ms_);
        const int64_t jump_us =
            int64_t{step_ms} * 1000 - static_cast<int64_t>(sound_us - last_sound_us_);
        if (step_ms < 0) {
            entry.what = kind::reordered;
        } else if (jump_us > kTimelineToleranceUs) {
            entry.what = kind::gap;
        } else if (jump_us < -kTimelineToleranceUs) {
            entry.what = kind::overlap;
        } else {
            entry.what = kind::follows;
        }
    }
    if (entry.what != kind::follows) {
        begun_ = true;
        stretch_pts_ms_ = pts_ms;
        stretch_sound_us_ = sound_us;
    }
    const int64_t stretch_us = int64_t{pts_ms - stretch_pts_ms_} * 1000;
    entry.drift_us = static_cast<int64_t>(sound_us - stretch_sound_us_) - stretch_us;
    last_pts_ms_ = pts_ms;
    last_sound_us_ = sound_us;
    return entry;
}

std::unique_ptr<timeline_file> timeline_file::create(const std::string& path, std::string& reason) {
    file_ptr file(std::fopen(path.c_str(), "we"));
    if (file == nullptr || std::setvbuf(file.get(), nullptr, _IOLBF, BUFSIZ) != 0 ||
        std::fputs("player,pts_ms,output_frame,rate_hz,drift_ms,event\n", file.get()) < 0) {
        reason = std::strerror(errno);
        return nullptr;
    }
    return std::unique_ptr<timeline_file>(new timeline_file(std::move(file), path));
}

void timeline_file::add(uint32_t player, const timeline_entry& entry) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const int64_t drift_us = std::llabs(entry.drift_us);
    const int printed = std::fprintf(
        file_.get(), "0x%08" PRIx32 ",%" PRIu32 ",%" PRIu64 ",%" PRIu32 ",%s%" PRId64 ".%03d,%s\n",
        player, entry.pts_ms, entry.frame, entry.rate_hz, entry.drift_us < 0 ? "-" : "",
        drift_us / 1000, static_cast<int>(drift_us % 1000), to_text(entry.what));
    if (printed < 0 && !failed_) {
        failed_ = true;
        LOGE("the timeline '%s' cannot be written: %s; lines are missing from it", path_.c_str(),
             std::strerror(errno));
    }
}

}  // namespace player_service
