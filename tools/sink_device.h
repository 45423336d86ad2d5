// Where played audio goes: the sound card, an ALSA PCM by name, or a WAV file.
//
// The module always plays to card 0, device 0; the tinyalsa of a workstation lets an environment
// variable send that elsewhere. Choosing looks only; apply() sets the variable and has to come
// before the module opens the card.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

constexpr char playback_variable[] = "CORVEX_ALSA_PLAYBACK";

struct sink_request {
    std::string device;            // as --device gives it: auto, card, a .wav path, or an ALSA name
    std::filesystem::path input;   // the file that will be played, which exists
    std::string from_environment;  // the variable's present value, or empty
    std::filesystem::path proc_asound = "/proc/asound";
};

struct sink_device {
    std::string variable;            // for the environment variable; empty when it has to be unset
    std::string text;                // for a person: "ALSA PCM 'plughw:1'"
    std::filesystem::path wav_path;  // a WAV file only, absolute

    bool is_wav_file() const { return !wav_path.empty(); }
    void apply() const;

    // When the WAV file was last written; empty when it is not there. Tells, asked before and
    // after, whether playing really wrote it.
    std::optional<std::filesystem::file_time_type> time_written() const;
};

// The rule of --device:
//   auto      what the environment variable says, else card 0 if it can play, else the file
//             <input's stem>.played.wav beside the input, or in the current folder when the
//             input's folder cannot be written
//   card      card 0, device 0, which has to be there
//   X.wav     that file (also written wav:X); never the input itself
//   other     an ALSA PCM of that name
// Throws tool_error for a sink that cannot work.
sink_device choose_sink(const sink_request& request);
