// The service's one sound output: where it leads, at which pace, and with how much latency.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "player_service/playback/audio_sink.h"
#include "player_service/playback/wav_files.h"

namespace player_service {

struct output_target {
    enum class kind { nowhere, wav, alsa };
    kind what = kind::nowhere;
    std::string name;  // the file's path, or the PCM's name
};

class sound_output {
  public:
    static constexpr uint32_t kMinLatencyMs = 5;
    static constexpr uint32_t kMaxLatencyMs = 1000;
    static constexpr uint32_t kDefaultLatencyMs = 40;

    // `real_pace` is for all but ALSA, where the card has its own pace.
    sound_output(const output_target& target, bool real_pace);

    // How much sound a sink holds that is opened from now on. Any thread.
    void set_latency_ms(uint32_t latency_ms) { latency_ms_ = latency_ms; }
    uint32_t latency_ms() const { return latency_ms_; }

    // A sink for one player. Any thread. Null with a reason when it cannot be had.
    std::unique_ptr<audio_sink> open(const audio_format& format, std::string& reason);
    // One that drops the sound at the same pace.
    std::unique_ptr<audio_sink> open_silent(const audio_format& format) const;

    // That a player's sound could not be put out, and whether that has ever happened. Any thread.
    void note_lost_sound() { lost_sound_ = true; }
    bool has_lost_sound() const { return lost_sound_; }

  private:
    std::unique_ptr<audio_sink> open_clock_sink(const audio_format& format,
                                                std::unique_ptr<wav_lease> file) const;

    const output_target target_;
    const bool real_pace_;
    std::atomic<uint32_t> latency_ms_{kDefaultLatencyMs};
    std::atomic<bool> lost_sound_{false};
    wav_files wav_files_;
};

}  // namespace player_service
