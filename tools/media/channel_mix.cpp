#include "tools/media/channel_mix.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr float minus_3_db = 0.70710678F;

bool has(const speaker_layout& layout, speaker which) {
    return std::find(layout.begin(), layout.end(), which) != layout.end();
}

}  // namespace

speaker_layout customary_layout(unsigned channels) {
    using s = speaker;
    switch (channels) {
        case 1:
            return {s::front_center};
        case 2:
            return {s::front_left, s::front_right};
        case 3:
            return {s::front_left, s::front_right, s::front_center};
        case 4:
            return {s::front_left, s::front_right, s::back_left, s::back_right};
        case 5:
            return {s::front_left, s::front_right, s::front_center, s::back_left, s::back_right};
        case 6:
            return {s::front_left, s::front_right, s::front_center,
                    s::lfe,        s::back_left,   s::back_right};
        case 7:
            return {s::front_left,  s::front_right, s::front_center, s::lfe,
                    s::back_center, s::side_left,   s::side_right};
        case 8:
            return {s::front_left, s::front_right, s::front_center, s::lfe,
                    s::back_left,  s::back_right,  s::side_left,    s::side_right};
        default:
            return {};
    }
}

channel_mix::channel_mix(const speaker_layout& in, const speaker_layout& out)
    : in_channels_(in.size()),
      out_channels_(out.size()),
      identity_(in == out),
      gains_(in.size() * out.size(), 0.0F) {
    if (identity_) {
        for (size_t i = 0; i < in_channels_; ++i) {
            gains_[i * in_channels_ + i] = 1.0F;
        }
        return;
    }
    if (out_channels_ == 1) {
        const channel_mix pair(in, customary_layout(2));
        for (size_t i = 0; i < in_channels_; ++i) {
            gains_[i] = (pair.gain(0, i) + pair.gain(1, i)) / 2;
        }
        return;
    }
    if (in_channels_ == 1) {
        add(out, speaker::front_left, 0, 1.0F);
        add(out, speaker::front_right, 0, 1.0F);
        return;
    }
    for (size_t i = 0; i < in_channels_; ++i) {
        add_channel(out, in[i], i);
    }
    limit_to_unity();
}

void channel_mix::add(const speaker_layout& out, speaker to, size_t from, float gain) {
    const auto place = std::find(out.begin(), out.end(), to);
    if (place != out.end()) {
        gains_[static_cast<size_t>(std::distance(out.begin(), place)) * in_channels_ + from] +=
            gain;
    }
}

void channel_mix::add_channel(const speaker_layout& out, speaker which, size_t from) {
    if (has(out, which)) {
        add(out, which, from, 1.0F);
        return;
    }
    // Where the surrounds go: a pair of the output's own, else its front pair.
    const bool out_has_back = has(out, speaker::back_left);
    const bool out_has_pair = out_has_back || has(out, speaker::side_left);
    speaker left = out_has_back ? speaker::back_left : speaker::side_left;
    speaker right = out_has_back ? speaker::back_right : speaker::side_right;
    if (!out_has_pair) {
        left = speaker::front_left;
        right = speaker::front_right;
    }
    switch (which) {
        case speaker::front_left:
        case speaker::front_right:
        case speaker::lfe:
            break;
        case speaker::front_center:
            add(out, speaker::front_left, from, minus_3_db);
            add(out, speaker::front_right, from, minus_3_db);
            break;
        case speaker::back_left:
        case speaker::side_left:
            add(out, left, from, out_has_pair ? 1.0F : minus_3_db);
            break;
        case speaker::back_right:
        case speaker::side_right:
            add(out, right, from, out_has_pair ? 1.0F : minus_3_db);
            break;
        case speaker::back_center:
            add(out, left, from, out_has_pair ? minus_3_db : 0.5F);
            add(out, right, from, out_has_pair ? minus_3_db : 0.5F);
            break;
    }
}

void channel_mix::limit_to_unity() {
    float loudest = 1.0F;
    for (size_t o = 0; o < out_channels_; ++o) {
        float sum = 0;
        for (size_t i = 0; i < in_channels_; ++i) {
            sum += gain(o, i);
        }
        loudest = std::max(loudest, sum);
    }
    for (float& gain : gains_) {
        gain /= loudest;
    }
}

void channel_mix::apply(const float* in, size_t frames, float* out) const {
    if (identity_) {
        std::copy_n(in, frames * in_channels_, out);
        return;
    }
    for (size_t f = 0; f < frames; ++f) {
        for (size_t o = 0; o < out_channels_; ++o) {
            float sum = 0;
            for (size_t i = 0; i < in_channels_; ++i) {
                sum += gain(o, i) * in[f * in_channels_ + i];
            }
            out[f * out_channels_ + o] = sum;
        }
    }
}
