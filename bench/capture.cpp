// in_read() of a stream at another rate than the card's, beside speexdsp on the same frames.
#include <cstdint>
#include <cstdlib>
#include <speex/speex_resampler.h>
#include <vector>

#include "bench/card.h"
#include "bench/loaded_module.h"
#include "bench/sound.h"
#include "bench/subject.h"

namespace {

constexpr uint32_t card_rate_hz = 48000;
constexpr uint32_t rate_hz = 16000;
constexpr size_t read_frames = 320;  // 20 ms
constexpr size_t card_frames = read_frames * (card_rate_hz / rate_hz);
constexpr int quality = 4;  // the module's

class capture_subject final : public subject {
  public:
    capture_subject() {
        setenv("CORVEX_ALSA_CAPTURE", "null", 1);
        feed_card(sound_.data(), sound_.size());
        stream_ = module_.open_input(rate_hz, AUDIO_CHANNEL_IN_STEREO);
        speex_ = speex_resampler_init(2, card_rate_hz, rate_hz, quality, nullptr);
        for (int i = 0; i < 100; ++i) {
            ours(1);
            reference(1);
            if (read_ != expected_) {
                give_up("capture: read %d is not what speexdsp makes of the card's frames", i);
            }
        }
    }
    ~capture_subject() override {
        speex_resampler_destroy(speex_);
        module_.close(stream_);
    }

    void ours(uint32_t times) override {
        const size_t bytes = read_.size() * sizeof(int16_t);
        for (uint32_t i = 0; i < times; ++i) {
            if (stream_->read(stream_, read_.data(), bytes) != static_cast<ssize_t>(bytes)) {
                give_up("capture: a read was refused");
            }
        }
    }
    void reference(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            size_t given = 0;
            while (given < read_frames) {
                auto taken = static_cast<spx_uint32_t>((sound_.size() - at_) / 2);
                auto made = static_cast<spx_uint32_t>(read_frames - given);
                speex_resampler_process_interleaved_int(speex_, sound_.data() + at_, &taken,
                                                        expected_.data() + given * 2, &made);
                at_ = (at_ + size_t{2} * taken) % sound_.size();
                given += made;
            }
        }
    }

  private:
    const loaded_module module_;
    const std::vector<int16_t> sound_ = noise(card_frames * 2 * 100);
    audio_stream_in* stream_ = nullptr;
    SpeexResamplerState* speex_ = nullptr;
    size_t at_ = 0;
    std::vector<int16_t> read_ = std::vector<int16_t>(2 * read_frames);
    std::vector<int16_t> expected_ = std::vector<int16_t>(2 * read_frames);
};

}  // namespace

std::unique_ptr<subject> make_capture() {
    return std::make_unique<capture_subject>();
}
