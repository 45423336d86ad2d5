#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <new>
#include <speex/speex_resampler.h>
#include <type_traits>

#include <audio_utils/resampler.h>

#include "pending_frames.h"

namespace {

using audioutils::pending_frames;

constexpr uint32_t kMinQuality = 1;
constexpr uint32_t kMaxQuality = 9;

// Far more than audio has, and few enough that no size inside Speex overflows.
constexpr uint32_t kMaxChannels = 64;

// The most frames that go through Speex, whose counts are 32-bit, or are held at once.
constexpr size_t kMaxBlockFrames = 1U << 20;

constexpr int64_t kNsPerSecond = 1000000000;

struct speex_closer {
    void operator()(SpeexResamplerState* state) const { speex_resampler_destroy(state); }
};
using speex_ptr = std::unique_ptr<SpeexResamplerState, speex_closer>;

// `itfe` is the first member: its address is that of the whole.
struct resampler {
    resampler_itfe itfe;
    SpeexResamplerState* speex;  // owned
    resampler_buffer_provider* provider;
    uint32_t in_rate_hz;
    uint32_t out_rate_hz;
    uint32_t channels;
    pending_frames pending;

    ~resampler() { speex_resampler_destroy(speex); }
};
static_assert(std::is_standard_layout_v<resampler>);

resampler& from_itfe(resampler_itfe* itfe) {
    return *reinterpret_cast<resampler*>(itfe);
}

// Input that is enough for `out_frames`, unless that is more than one block: the filter stands less
// than one output frame ahead of what it has consumed.
size_t frames_needed(const resampler& self, size_t out_frames) {
    const uint64_t bounded = std::min(out_frames, kMaxBlockFrames);
    const uint64_t frames = bounded * self.in_rate_hz / self.out_rate_hz + 1;
    return static_cast<size_t>(std::min<uint64_t>(frames, kMaxBlockFrames));
}

// Pulls until `frames` are pending. False when the provider ran out before.
bool pull(resampler& self, size_t frames) {
    while (self.pending.frames() < frames) {
        const size_t wanted = frames - self.pending.frames();
        resampler_buffer buffer = {};
        buffer.frame_count = wanted;
        if (self.provider->get_next_buffer(self.provider, &buffer) != 0 || buffer.raw == nullptr ||
            buffer.frame_count == 0) {
            return false;
        }
        // A provider that hands out more than was asked for gets the rest back unused.
        buffer.frame_count = std::min(buffer.frame_count, wanted);
        self.pending.append(buffer.raw, buffer.frame_count);
        self.provider->release_buffer(self.provider, &buffer);
    }
    return true;
}

// Takes and gives as much as goes in one block. The counts come back as what was moved.
int process(resampler& self, const int16_t* in, size_t& in_frames, int16_t* out,
            size_t& out_frames) {
    auto taken = static_cast<spx_uint32_t>(std::min(in_frames, kMaxBlockFrames));
    auto given = static_cast<spx_uint32_t>(std::min(out_frames, kMaxBlockFrames));
    const int error = speex_resampler_process_interleaved_int(self.speex, in, &taken, out, &given);
    in_frames = error == RESAMPLER_ERR_SUCCESS ? taken : 0;
    out_frames = error == RESAMPLER_ERR_SUCCESS ? given : 0;
    return error == RESAMPLER_ERR_SUCCESS ? 0 : -ENODEV;
}

// Lets silence through until the filters hold nothing else: speex_resampler_reset_mem() clears that
// of the first channel only.
void silence_filters(SpeexResamplerState* speex, uint32_t channels) {
    const int filter_frames = 2 * speex_resampler_get_input_latency(speex);
    for (uint32_t channel = 0; channel < channels; ++channel) {
        for (int left = filter_frames; left > 0;) {
            auto taken = static_cast<spx_uint32_t>(left);
            int16_t dropped[256];
            spx_uint32_t given = std::size(dropped);
            if (speex_resampler_process_int(speex, channel, nullptr, &taken, dropped, &given) !=
                    RESAMPLER_ERR_SUCCESS ||
                (taken == 0 && given == 0)) {
                break;
            }
            left -= static_cast<int>(taken);
        }
    }
}

void reset(resampler_itfe* itfe) {
    if (itfe == nullptr) {
        return;
    }
    resampler& self = from_itfe(itfe);
    silence_filters(self.speex, self.channels);
    speex_resampler_reset_mem(self.speex);
    self.pending.drop(self.pending.frames());
}

int resample_from_provider(resampler_itfe* itfe, int16_t* out, size_t* out_frames) {
    if (itfe == nullptr || out == nullptr || out_frames == nullptr) {
        return -EINVAL;
    }
    resampler& self = from_itfe(itfe);
    if (self.provider == nullptr) {
        return -ENOSYS;
    }
    const size_t wanted = *out_frames;
    size_t& produced = *out_frames;
    produced = 0;
    bool more = true;
    while (more && produced < wanted) {
        const size_t needed = frames_needed(self, wanted - produced);
        if (!self.pending.reserve(needed)) {
            return -ENOMEM;
        }
        more = pull(self, needed);
        size_t taken = self.pending.frames();
        size_t given = wanted - produced;
        const int error =
            process(self, self.pending.samples(), taken, out + produced * self.channels, given);
        self.pending.drop(taken);
        produced += given;
        if (error != 0) {
            return error;
        }
        more = more && (taken > 0 || given > 0);
    }
    return 0;
}

int resample_from_input(resampler_itfe* itfe, int16_t* in, size_t* in_frames, int16_t* out,
                        size_t* out_frames) {
    if (itfe == nullptr || in == nullptr || in_frames == nullptr || out == nullptr ||
        out_frames == nullptr) {
        return -EINVAL;
    }
    resampler& self = from_itfe(itfe);
    if (self.provider != nullptr) {
        return -ENOSYS;
    }
    const size_t offered = *in_frames;
    const size_t room = *out_frames;
    *in_frames = 0;
    *out_frames = 0;
    while (true) {
        size_t taken = offered - *in_frames;
        size_t given = room - *out_frames;
        const int error = process(self, in + *in_frames * self.channels, taken,
                                  out + *out_frames * self.channels, given);
        *in_frames += taken;
        *out_frames += given;
        if (error != 0 || (taken == 0 && given == 0)) {
            return error;
        }
    }
}

int32_t delay_ns(resampler_itfe* itfe) {
    if (itfe == nullptr) {
        return 0;
    }
    const resampler& self = from_itfe(itfe);
    const auto waiting = static_cast<int64_t>(self.pending.frames());
    const int64_t filter = speex_resampler_get_input_latency(self.speex);
    const int64_t delay = (waiting + filter) * kNsPerSecond / self.in_rate_hz;
    return static_cast<int32_t>(std::min<int64_t>(delay, INT32_MAX));
}

constexpr resampler_itfe kOperations = {
    .reset = reset,
    .resample_from_provider = resample_from_provider,
    .resample_from_input = resample_from_input,
    .delay_ns = delay_ns,
};

int find_fault(uint32_t channels, uint32_t quality, const resampler_buffer_provider* provider) {
    if (quality < kMinQuality || quality > kMaxQuality) {
        return -EINVAL;
    }
    if (provider != nullptr &&
        (provider->get_next_buffer == nullptr || provider->release_buffer == nullptr)) {
        return -EINVAL;
    }
    return channels <= kMaxChannels ? 0 : -ENODEV;
}

}  // namespace

int create_resampler(uint32_t in_rate, uint32_t out_rate, uint32_t channels, uint32_t quality,
                     resampler_buffer_provider* provider, resampler_itfe** itfe) {
    if (itfe == nullptr) {
        return -EINVAL;
    }
    *itfe = nullptr;
    if (const int fault = find_fault(channels, quality, provider); fault != 0) {
        return fault;
    }
    int error = RESAMPLER_ERR_SUCCESS;
    speex_ptr speex(
        speex_resampler_init(channels, in_rate, out_rate, static_cast<int>(quality), &error));
    if (speex == nullptr || error != RESAMPLER_ERR_SUCCESS) {
        return -ENODEV;
    }
    auto* const self = new (std::nothrow) resampler{
        kOperations, speex.get(), provider, in_rate, out_rate, channels, pending_frames(channels)};
    if (self == nullptr) {
        return -ENOMEM;
    }
    static_cast<void>(speex.release());
    *itfe = &self->itfe;
    return 0;
}

void release_resampler(resampler_itfe* itfe) {
    if (itfe != nullptr) {
        delete &from_itfe(itfe);
    }
}
