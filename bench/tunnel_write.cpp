// A tunnel stream written to a player in this process that does nothing with it, beside memcpy() of
// the same payload in pieces of the size in which a player gets it.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "bench/loaded_module.h"
#include "bench/null_player.h"
#include "bench/sound.h"
#include "bench/subject.h"

namespace {

constexpr size_t frame_bytes = 4096;
constexpr size_t write_bytes = 4096;
constexpr size_t piece_bytes = 1024;
constexpr size_t frames = 64;

class tunnel_subject final : public subject {
  public:
    tunnel_subject() {
        const std::vector<int16_t> sound = noise(frames * frame_bytes / sizeof(int16_t));
        payload_.assign(reinterpret_cast<const char*>(sound.data()), frames * frame_bytes);
        const char header[16] = {0x55, 0x55, 0, 1, 0, 0, frame_bytes >> 8};
        for (size_t at = 0; at < payload_.size(); at += frame_bytes) {
            stream_bytes_.append(header, sizeof(header)).append(payload_, at, frame_bytes);
        }
        offer_null_players(&kept_);
        module_ = std::make_unique<loaded_module>();
        stream_ = module_->open_output(static_cast<audio_output_flags_t>(
            AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC));
        std::string arrived;
        kept_ = &arrived;
        ours(1);
        kept_ = nullptr;
        if (arrived != payload_) {
            give_up("tunnel write: the player did not get what was written");
        }
    }
    ~tunnel_subject() override { module_->close(stream_); }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            for (size_t at = 0; at < stream_bytes_.size(); at += write_bytes) {
                const size_t bytes = std::min(write_bytes, stream_bytes_.size() - at);
                if (stream_->write(stream_, stream_bytes_.data() + at, bytes) !=
                    static_cast<ssize_t>(bytes)) {
                    give_up("tunnel write: a write was refused");
                }
            }
        }
    }
    void reference(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            for (size_t at = 0; at < payload_.size(); at += piece_bytes) {
                std::memcpy(block_, payload_.data() + at, piece_bytes);
                asm volatile("" : : "r"(block_) : "memory");
            }
        }
    }

  private:
    std::string payload_;
    std::string stream_bytes_;
    std::string* kept_ = nullptr;
    std::unique_ptr<loaded_module> module_;
    audio_stream_out* stream_ = nullptr;
    char block_[8192] = {};
};

}  // namespace

std::unique_ptr<subject> make_tunnel_write() {
    return std::make_unique<tunnel_subject>();
}
