// A device that a stream shall use: the sound card, an ALSA PCM by name, or a WAV file.
//
// The module always uses card 0, device 0; the tinyalsa of a workstation lets an environment
// variable send that elsewhere. Choosing looks only; apply() sets the variable and has to come
// before the module opens the card.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

struct chosen_device {
    const char* environment;         // the variable of this direction
    std::string variable;            // for it; empty when it has to be unset
    std::string text;                // for a person: "ALSA PCM 'plughw:1'"
    std::filesystem::path wav_path;  // a WAV file only, absolute

    bool is_wav_file() const { return !wav_path.empty(); }
    void apply() const;

    // When the WAV file was last written; empty when it is not there. Tells, asked before and
    // after, whether playing really wrote it.
    std::optional<std::filesystem::file_time_type> time_written() const;

    // ", 1234 bytes" of a WAV file that is there; else empty.
    std::string size_text() const;
};

// Whether card 0 has the PCM, "pcm0p" or "pcm0c".
bool card_has(const std::filesystem::path& proc_asound, const char* pcm);

// Card 0, device 0, whatever the variable says now.
chosen_device card_device(const char* environment, const std::filesystem::path& proc_asound,
                          const char* pcm);

// A WAV file that has been checked, or an ALSA PCM of that name.
chosen_device wav_device(const char* environment, const std::filesystem::path& path);
chosen_device alsa_device(const char* environment, const std::string& name);

// Throws program_error (a usage error) for the empty name.
void require_device_name(const std::string& name, const char* option);
