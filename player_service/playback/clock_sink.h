// A sink without a card: into a WAV file or nowhere, at the pace of the clock or as fast as it can.
#pragma once

#include <memory>
#include <optional>

#include "player_service/playback/audio_sink.h"
#include "player_service/playback/play_clock.h"
#include "player_service/playback/wav_files.h"

namespace player_service {

class clock_sink : public audio_sink {
  public:
    // `file` may be null: the sound is dropped. Without `buffer` it takes everything at once.
    clock_sink(const audio_format& format, std::unique_ptr<wav_lease> file,
               std::optional<std::chrono::nanoseconds> buffer);

    long write(const int16_t* samples, size_t frames) override;
    std::chrono::nanoseconds until_room() const override;
    std::chrono::nanoseconds tail() const override { return {}; }
    bool waits_for_more() const override { return false; }
    void end() override {}
    bool take_underrun() override { return false; }
    std::chrono::nanoseconds delay() const override;

  private:
    const std::unique_ptr<wav_lease> file_;
    std::optional<play_clock> clock_;
};

}  // namespace player_service
