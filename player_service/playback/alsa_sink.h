// A sink into an ALSA PCM, which paces it.
#pragma once

#include <alsa/asoundlib.h>
#include <memory>
#include <string>
#include <utility>

#include "player_service/playback/audio_sink.h"

namespace player_service {

class alsa_sink : public audio_sink {
  public:
    // Null with a reason when the PCM cannot be opened with this format and about this much buffer.
    static std::unique_ptr<alsa_sink> open(const std::string& name, const audio_format& format,
                                           std::chrono::milliseconds buffer, std::string& reason);
    // Empty, or why no PCM of this name can be opened. One in use counts as good.
    static std::string check(const std::string& name);

    long write(const int16_t* samples, size_t frames) override;
    std::chrono::nanoseconds until_room() const override;
    std::chrono::nanoseconds tail() const override { return kTail; }
    bool waits_for_more() const override;
    void end() override;
    bool take_underrun() override { return std::exchange(ran_dry_, false); }
    std::chrono::nanoseconds delay() const override;

  private:
    // Cards take sound in pieces of some milliseconds, and leave out the last piece that they have
    // not begun when they run dry.
    static constexpr std::chrono::milliseconds kTail{50};

    struct pcm_closer {
        void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
    };
    using pcm_ptr = std::unique_ptr<snd_pcm_t, pcm_closer>;

    alsa_sink(pcm_ptr pcm, const audio_format& format);
    static pcm_ptr open_pcm(const std::string& name, int& error);

    const pcm_ptr pcm_;
    const uint32_t rate_hz_;
    bool ran_dry_ = false;
};

}  // namespace player_service
