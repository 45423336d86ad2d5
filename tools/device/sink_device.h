// Where played audio goes.
#pragma once

#include <filesystem>
#include <string>

#include "tools/device/chosen_device.h"

constexpr char playback_variable[] = "CORVEX_ALSA_PLAYBACK";

struct sink_request {
    std::string device;            // as --device gives it: auto, card, a .wav path, or an ALSA name
    std::filesystem::path input;   // the file that will be played, which exists
    std::string from_environment;  // the variable's present value, or empty
    std::filesystem::path proc_asound = "/proc/asound";
};

using sink_device = chosen_device;

// The rule of --device:
//   auto      what the environment variable says, else card 0 if it can play, else the file
//             <input's stem>.played.wav beside the input, or in the current folder when the
//             input's folder cannot be written
//   card      card 0, device 0, which has to be there
//   X.wav     that file (also written wav:X); never the input itself
//   other     an ALSA PCM of that name
// Throws program_error for a sink that cannot work.
sink_device choose_sink(const sink_request& request);
