// Resamples interleaved float audio with no delay at the front and the exact length at the end: for
// n input frames it gives n * out_rate / in_rate output frames, rounded to nearest.
//
// One thread. Throws std::bad_alloc when the resampler cannot be made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct SpeexResamplerState_;

class rate_converter {
  public:
    // Rates are not 0; channels is 1 to max_channels.
    rate_converter(uint32_t in_rate_hz, uint32_t out_rate_hz, size_t channels);
    ~rate_converter();
    rate_converter(const rate_converter&) = delete;
    rate_converter& operator=(const rate_converter&) = delete;

    // Takes all of `in` and appends what comes out to `out`.
    void convert(const float* in, size_t frames, std::vector<float>& out);

    // Appends what the filter still holds. The last call for this converter.
    void finish(std::vector<float>& out);

  private:
    uint64_t frames_due() const;
    void feed(const float* in, size_t frames, std::vector<float>& out);

    uint32_t in_rate_hz_;
    uint32_t out_rate_hz_;
    size_t channels_;
    uint64_t frames_in_ = 0;
    uint64_t frames_out_ = 0;
    std::unique_ptr<SpeexResamplerState_, void (*)(SpeexResamplerState_*)> speex_;
};
