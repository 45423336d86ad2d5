// Which loudspeaker each channel of interleaved audio belongs to, and the gains that turn one
// layout into another.
//
// A channel goes to its own loudspeaker at unity gain where the output has it. Otherwise:
//   front centre   left and right, 0.7071 (-3 dB) each
//   LFE            dropped
//   back, side     the other pair of the two if there is one, else the front of its side at 0.7071
//   back centre    back (or side) pair at 0.7071 each, else left and right at 0.5 each
//   one channel    left and right at unity: stereo from mono is the same sample twice
// Mono output is half of left and half of right. When the gains of any output channel add up to
// more than 1, all gains are scaled down by the same factor, so that mixing never clips.
#pragma once

#include <cstddef>
#include <vector>

enum class speaker {
    front_left,
    front_right,
    front_center,
    lfe,
    back_left,
    back_right,
    back_center,
    side_left,
    side_right,
};

using speaker_layout = std::vector<speaker>;

constexpr unsigned max_channels = 8;

// The customary order of a file with so many channels and no map of its own; empty above
// max_channels and for 0. Its 1, 2, 6 and 8 are also the orders of the mono, stereo, 5.1 and 7.1
// output masks.
speaker_layout customary_layout(unsigned channels);

class channel_mix {
  public:
    // Both layouts have 1 to max_channels channels; the output is mono or has a front pair.
    channel_mix(const speaker_layout& in, const speaker_layout& out);

    size_t in_channels() const { return in_channels_; }
    size_t out_channels() const { return out_channels_; }
    bool is_identity() const { return identity_; }
    float gain(size_t out_channel, size_t in_channel) const {
        return gains_[out_channel * in_channels_ + in_channel];
    }

    // Mixes `frames` interleaved frames; `out` has room for frames * out_channels() samples and
    // does not overlap `in`.
    void apply(const float* in, size_t frames, float* out) const;

  private:
    void add(const speaker_layout& out, speaker to, size_t from, float gain);
    void add_channel(const speaker_layout& out, speaker which, size_t from);
    void limit_to_unity();

    size_t in_channels_;
    size_t out_channels_;
    bool identity_;
    std::vector<float> gains_;  // one row of in_channels_ for each output channel
};
