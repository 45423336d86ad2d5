#include "tools/media/pcm_source.h"

#include <algorithm>

#include "host/sample.h"

namespace {

// Few enough that a slow processor converts them while a card plays its buffer.
constexpr size_t block_frames = 256;

}  // namespace

int16_t to_int16(float sample, uint64_t& clipped) {
    if (sample > 1.0F || sample < -1.0F) {
        ++clipped;
    }
    return to_int16(sample);
}

pcm_source::pcm_source(audio_file& file, uint32_t out_rate_hz, const speaker_layout& out_layout)
    : file_(file),
      out_rate_hz_(out_rate_hz),
      mix_(file.layout(), out_layout),
      from_file_(block_frames * mix_.in_channels()),
      mixed_(block_frames * mix_.out_channels()) {
    if (file.rate_hz() != out_rate_hz) {
        converter_.emplace(file.rate_hz(), out_rate_hz, mix_.out_channels());
    }
}

uint64_t pcm_source::frames_expected() const {
    const uint64_t whole_seconds = file_.frames() / file_.rate_hz();
    const uint64_t rest_frames = file_.frames() % file_.rate_hz();
    return whole_seconds * out_rate_hz_ +
           (rest_frames * out_rate_hz_ + file_.rate_hz() / 2) / file_.rate_hz();
}

bool pcm_source::refill() {
    ready_.clear();
    ready_taken_ = 0;
    while (ready_.empty() && !at_end_) {
        const size_t frames = file_.read(from_file_.data(), block_frames);
        file_frames_read_ += frames;
        at_end_ = frames == 0;
        mix_.apply(from_file_.data(), frames, mixed_.data());
        if (!converter_) {
            ready_.assign(mixed_.data(), mixed_.data() + frames * mix_.out_channels());
        } else if (at_end_) {
            converter_->finish(ready_);
        } else {
            converter_->convert(mixed_.data(), frames, ready_);
        }
    }
    return !ready_.empty();
}

size_t pcm_source::read(int16_t* samples, size_t frames) {
    const size_t wanted = frames * mix_.out_channels();
    size_t given = 0;
    while (given < wanted) {
        if (ready_taken_ == ready_.size() && !refill()) {
            break;
        }
        const size_t piece = std::min(wanted - given, ready_.size() - ready_taken_);
        for (size_t i = 0; i < piece; ++i) {
            samples[given + i] = to_int16(ready_[ready_taken_ + i], clipped_samples_);
        }
        given += piece;
        ready_taken_ += piece;
    }
    return given / mix_.out_channels();
}
