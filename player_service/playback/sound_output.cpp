#include "player_service/playback/sound_output.h"

#include <optional>
#include <utility>

#include "player_service/playback/alsa_sink.h"
#include "player_service/playback/clock_sink.h"

namespace player_service {

sound_output::sound_output(const output_target& target, bool real_pace)
    : target_(target), real_pace_(real_pace), wav_files_(target.name) {}

std::unique_ptr<audio_sink> sound_output::open_clock_sink(const audio_format& format,
                                                          std::unique_ptr<wav_lease> file) const {
    std::optional<std::chrono::nanoseconds> buffer;
    if (real_pace_ || target_.what == output_target::kind::alsa) {
        buffer = std::chrono::milliseconds(latency_ms_);
    }
    return std::make_unique<clock_sink>(format, std::move(file), buffer);
}

std::unique_ptr<audio_sink> sound_output::open_silent(const audio_format& format) const {
    return open_clock_sink(format, nullptr);
}

std::unique_ptr<audio_sink> sound_output::open(const audio_format& format, std::string& reason) {
    if (target_.what == output_target::kind::alsa) {
        return alsa_sink::open(target_.name, format, std::chrono::milliseconds(latency_ms_),
                               reason);
    }
    if (target_.what == output_target::kind::nowhere) {
        return open_silent(format);
    }
    std::unique_ptr<wav_lease> file = wav_files_.lease(format, reason);
    return file == nullptr ? nullptr : open_clock_sink(format, std::move(file));
}

}  // namespace player_service
