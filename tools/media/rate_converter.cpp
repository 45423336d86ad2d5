#include "tools/media/rate_converter.h"

#include <algorithm>
#include <new>
#include <speex/speex_resampler.h>

namespace {

constexpr size_t out_block_frames = 1024;

// Nobody waits for this conversion, so it takes the best filter there is.
constexpr int quality = SPEEX_RESAMPLER_QUALITY_MAX;

}  // namespace

rate_converter::rate_converter(uint32_t in_rate_hz, uint32_t out_rate_hz, size_t channels)
    : in_rate_hz_(in_rate_hz),
      out_rate_hz_(out_rate_hz),
      channels_(channels),
      speex_(nullptr, speex_resampler_destroy) {
    int error = RESAMPLER_ERR_SUCCESS;
    speex_.reset(speex_resampler_init(static_cast<spx_uint32_t>(channels), in_rate_hz, out_rate_hz,
                                      quality, &error));
    if (speex_ == nullptr || error != RESAMPLER_ERR_SUCCESS) {
        throw std::bad_alloc();
    }
    speex_resampler_skip_zeros(speex_.get());
}

rate_converter::~rate_converter() = default;

uint64_t rate_converter::frames_due() const {
    return (frames_in_ * out_rate_hz_ + in_rate_hz_ / 2) / in_rate_hz_;
}

void rate_converter::feed(const float* in, size_t frames, std::vector<float>& out) {
    size_t taken = 0;
    for (;;) {
        const size_t before = out.size();
        out.resize(before + out_block_frames * channels_);
        auto in_frames = static_cast<spx_uint32_t>(frames - taken);
        auto out_frames = static_cast<spx_uint32_t>(out_block_frames);
        const int error = speex_resampler_process_interleaved_float(
            speex_.get(), in + taken * channels_, &in_frames, out.data() + before, &out_frames);
        if (error != RESAMPLER_ERR_SUCCESS) {
            out.resize(before);
            throw std::bad_alloc();
        }
        taken += in_frames;
        frames_out_ += out_frames;
        out.resize(before + out_frames * channels_);
        // A block that is not full means that the input ran out, not the room.
        if (taken == frames && out_frames < out_block_frames) {
            return;
        }
    }
}

void rate_converter::convert(const float* in, size_t frames, std::vector<float>& out) {
    frames_in_ += frames;
    feed(in, frames, out);
}

void rate_converter::finish(std::vector<float>& out) {
    // Silence as long as the filter's delay pushes the last samples out; some of its own comes too.
    const auto delay_frames = static_cast<size_t>(speex_resampler_get_input_latency(speex_.get()));
    const std::vector<float> silence((delay_frames + 1) * channels_, 0.0F);
    const uint64_t due = frames_due();
    while (frames_out_ < due) {
        feed(silence.data(), delay_frames + 1, out);
    }
    const uint64_t surplus_samples = (frames_out_ - due) * channels_;
    out.resize(out.size() - static_cast<size_t>(std::min<uint64_t>(surplus_samples, out.size())));
    frames_out_ = due;
}
