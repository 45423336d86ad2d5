#include "tools/device/sink_device.h"

#include "host/device_name.h"
#include "host/program_error.h"
#include "host/writable_file.h"
#include "tools/device/output_file.h"

namespace fs = std::filesystem;

namespace {

constexpr char card_pcm[] = "pcm0p";

sink_device wav_sink(const fs::path& path, const fs::path& input) {
    require_writable_wav(path, input, "played");
    return wav_device(playback_variable, path);
}

sink_device wav_beside(const fs::path& input) {
    const fs::path name = input.stem().string() + ".played.wav";
    for (const fs::path& folder : {folder_of(input), fs::path(".")}) {
        if (writing_error(folder / name) == 0) {
            return wav_sink(folder / name, input);
        }
    }
    throw program_error("there is no sound card, and neither '" + folder_of(input).string() +
                        "' nor the current folder can be written; name a file with "
                        "--device FOLDER/NAME.wav");
}

sink_device from_name(const std::string& name, const fs::path& input, bool from_person) {
    const auto wav = wav_path_in(name, from_person);
    return wav ? wav_sink(*wav, input) : alsa_device(playback_variable, name);
}

}  // namespace

sink_device choose_sink(const sink_request& request) {
    require_device_name(request.device, "--device");
    const bool has_card = card_has(request.proc_asound, card_pcm);
    if (request.device == "card" && !has_card) {
        throw program_error("no sound card 0 with a playback device 0 (" +
                            (request.proc_asound / "card0" / card_pcm).string() +
                            " is missing); use --device FILE.wav or the name of an ALSA PCM");
    }
    if (request.device == "card") {
        return card_device(playback_variable, request.proc_asound, card_pcm);
    }
    if (request.device != "auto") {
        return from_name(request.device, request.input, true);
    }
    if (!request.from_environment.empty()) {
        return from_name(request.from_environment, request.input, false);
    }
    return has_card ? card_device(playback_variable, request.proc_asound, card_pcm)
                    : wav_beside(request.input);
}
