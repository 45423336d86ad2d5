#include "tools/pcm/recording.h"

#include <algorithm>
#include <vector>

#include "host/program_error.h"
#include "tools/pcm/card_failure.h"

recording::recording(hal_input_stream& stream, unsigned channels, std::string path,
                     const log_lines& log, const interrupt_guard& interrupt,
                     progress_line& progress, std::optional<uint64_t> frames_wanted)
    : stream_(stream),
      channels_(channels),
      path_(std::move(path)),
      log_(log),
      interrupt_(interrupt),
      progress_(progress),
      frames_wanted_(frames_wanted),
      rate_hz_(stream.sample_rate_hz()) {}

recording_report recording::run() {
    const size_t frame_bytes = channels_ * sizeof(int16_t);
    const size_t buffer_frames = stream_.buffer_frames(frame_bytes);
    report_.read_bytes = buffer_frames * frame_bytes;
    std::vector<int16_t> buffer(buffer_frames * channels_);
    while (!frames_wanted_ || report_.frames < *frames_wanted_) {
        if (interrupt_.requested()) {
            report_.interrupted = true;
            return report_;
        }
        const size_t frames = frames_wanted_ ? static_cast<size_t>(std::min<uint64_t>(
                                                   buffer_frames, *frames_wanted_ - report_.frames))
                                             : buffer_frames;
        if (!read_all(reinterpret_cast<char*>(buffer.data()), frames * frame_bytes)) {
            return report_;
        }
        store(buffer.data(), frames);
        meter_.add(buffer.data(), frames * channels_);
        ++report_.reads;
        report_.frames += frames;
        report_.peak = meter_.peak();
        report_.frames_lost += stream_.frames_lost();
        show_progress();
    }
    return report_;
}

bool recording::read_all(char* data, size_t bytes) {
    report_.failure = move_all(bytes, "read", "source", log_, [&](size_t done) {
        return stream_.read(data + done, bytes - done);
    });
    return report_.failure.empty();
}

void recording::store(const int16_t* samples, size_t frames) {
    if (file_ == nullptr) {
        std::string reason;
        file_ = wav_writer::create(path_, rate_hz_, channels_, reason);
        if (file_ == nullptr) {
            throw program_error("cannot write '" + path_ + "': " + reason +
                                "; name a file in another folder");
        }
    }
    if (!file_->append(samples, frames)) {
        throw program_error(
            "cannot write all of '" + path_ + "': " + file_->error() +
            "; what came before is in the file, so free some room and record again");
    }
}

void recording::show_progress() {
    if (!progress_.due()) {
        return;
    }
    const unsigned recent = meter_.take_recent_peak();
    std::string text = clock_text(report_.frames, rate_hz_);
    text.resize(text.size() - 2);  // tenths are enough
    if (frames_wanted_) {
        std::string total = clock_text(*frames_wanted_, rate_hz_);
        text += " / " + total.substr(0, total.size() - 2);
    }
    progress_.draw(text + "  " + level_bar(recent) + " " + level_text(recent));
}
