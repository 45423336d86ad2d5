// out_write() of a PCM stream, beside pcm_write() with a card opened the same way. The card is
// ALSA's "null", which takes all at once.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <tinyalsa/asoundlib.h>

#include "bench/loaded_module.h"
#include "bench/sound.h"
#include "bench/subject.h"

namespace {

constexpr size_t period_bytes = size_t{480} * 4;
constexpr char playback[] = "CORVEX_ALSA_PLAYBACK";

pcm_config card_config() {
    pcm_config config = {};
    config.channels = 2;
    config.rate = 48000;
    config.period_size = 480;
    config.period_count = 2;
    config.format = PCM_FORMAT_S16_LE;
    config.start_threshold = 240;
    config.stop_threshold = 0x7FFFFFFF;
    config.avail_min = 240;
    return config;
}

class pcm_write_subject final : public subject {
  public:
    pcm_write_subject() {
        check();
        setenv(playback, "null", 1);
        stream_ = module_.open_output(AUDIO_OUTPUT_FLAG_PRIMARY);
        const pcm_config config = card_config();
        card_ = pcm_open(0, 0, PCM_OUT | PCM_MONOTONIC, &config);
        if (card_ == nullptr || pcm_is_ready(card_) == 0) {
            give_up("pcm_write: %s", pcm_get_error(card_));
        }
    }
    ~pcm_write_subject() override {
        pcm_close(card_);
        module_.close(stream_);
    }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            if (stream_->write(stream_, sound_.data(), period_bytes) !=
                static_cast<ssize_t>(period_bytes)) {
                give_up("pcm_write: a write was refused");
            }
        }
    }
    void reference(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            if (pcm_write(card_, sound_.data(), period_bytes) != 0) {
                give_up("pcm_write: %s", pcm_get_error(card_));
            }
        }
    }

  private:
    // What is written is what the card gets.
    void check() {
        const std::string path = std::filesystem::absolute("checked.wav").string();
        setenv(playback, ("wav:" + path).c_str(), 1);
        stream_ = module_.open_output(AUDIO_OUTPUT_FLAG_PRIMARY);
        ours(1);
        module_.close(stream_);
        std::ifstream file(path, std::ios::binary);
        const std::string played{std::istreambuf_iterator<char>(file), {}};
        if (played.size() <= period_bytes ||
            std::memcmp(played.data() + played.size() - period_bytes, sound_.data(),
                        period_bytes) != 0) {
            give_up("pcm_write: the card did not get what was written");
        }
    }

    const loaded_module module_;
    const std::vector<int16_t> sound_ = noise(period_bytes / 2);
    audio_stream_out* stream_ = nullptr;
    pcm* card_ = nullptr;
};

}  // namespace

std::unique_ptr<subject> make_pcm_write() {
    return std::make_unique<pcm_write_subject>();
}
