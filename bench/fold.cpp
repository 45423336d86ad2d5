// in_read() of a mono stream whose card gives frames for nothing, beside memcpy() of those frames.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench/card.h"
#include "bench/loaded_module.h"
#include "bench/sound.h"
#include "bench/subject.h"

namespace {

constexpr size_t frames = 32768;

class fold_subject final : public subject {
  public:
    fold_subject() {
        setenv("CORVEX_ALSA_CAPTURE", "null", 1);
        feed_card(sound_.data(), sound_.size());
        stream_ = module_.open_input(48000, AUDIO_CHANNEL_IN_MONO);
        ours(1);
        for (size_t i = 0; i < frames; ++i) {
            if (mono_[i] != sound_[2 * i] / 2 + sound_[2 * i + 1] / 2) {
                give_up("fold: frame %zu is wrong", i);
            }
        }
        feed_card(nullptr, 0);
    }
    ~fold_subject() override { module_.close(stream_); }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            stream_->read(stream_, mono_.data(), frames * sizeof(int16_t));
        }
    }
    void reference(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            std::memcpy(copy_.data(), sound_.data(), sound_.size() * sizeof(int16_t));
            asm volatile("" : : "r"(copy_.data()) : "memory");
        }
    }

  private:
    const loaded_module module_;
    const std::vector<int16_t> sound_ = noise(2 * frames);
    audio_stream_in* stream_ = nullptr;
    std::vector<int16_t> mono_ = std::vector<int16_t>(frames);
    std::vector<int16_t> copy_ = std::vector<int16_t>(2 * frames);
};

}  // namespace

std::unique_ptr<subject> make_fold() {
    return std::make_unique<fold_subject>();
}
