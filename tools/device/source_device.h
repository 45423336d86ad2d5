// Where recorded audio comes from.
#pragma once

#include <filesystem>
#include <string>

#include "tools/device/chosen_device.h"

constexpr char capture_variable[] = "CORVEX_ALSA_CAPTURE";

struct source_request {
    std::string device;            // as --device gives it: auto, card, a WAV file, or an ALSA name
    std::string from_environment;  // the variable's present value, or empty
    std::filesystem::path proc_asound = "/proc/asound";
};

// The rule of --device:
//   auto      what the environment variable says, else card 0, which has to be there
//   card      card 0, device 0, which has to be there
//   X.wav     that file, which has to be there (also written wav:X)
//   other     an ALSA PCM of that name
// Throws program_error for a source that cannot work.
chosen_device choose_source(const source_request& request);
