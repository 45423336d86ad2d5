// The command line of zuavplayerd.
#pragma once

#include <optional>
#include <string>

#include "player_service/playback/sound_output.h"

namespace player_service {

struct daemon_options {
    std::string socket_dir;  // empty: as the environment says
    output_target target;
    std::string target_text;  // the same for a person
    bool real_pace = true;
    std::string timeline_path;  // empty: none
    bool exit_with_parent = false;
    bool verbose = false;
};

// Empty when help or the version was asked for and has been printed. Throws program_error.
std::optional<daemon_options> parse_options(int argc, char** argv);

// The rule of --device:
//   auto    ALSA's default PCM if there is a sound card, else none
//   card    ALSA's default PCM
//   none    the sound is dropped
//   X.wav   that file (also written wav:X)
//   other   an ALSA PCM of that name
// Throws program_error for an output that cannot work. `proc_asound` is where cards are listed.
void choose_output(const std::string& device, daemon_options& options,
                   const std::string& proc_asound = "/proc/asound");

}  // namespace player_service
