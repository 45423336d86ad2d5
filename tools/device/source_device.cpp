#include "tools/device/source_device.h"

#include "host/device_name.h"
#include "host/program_error.h"

namespace fs = std::filesystem;

namespace {

constexpr char card_pcm[] = "pcm0c";

chosen_device wav_source(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        throw program_error("there is no file '" + path.string() +
                            "' to record from; check the name and the folder");
    }
    if (!fs::is_regular_file(status)) {
        throw program_error("'" + path.string() + "' is no regular file; name a WAV file");
    }
    return wav_device(capture_variable, path);
}

}  // namespace

chosen_device choose_source(const source_request& request) {
    require_device_name(request.device, "--device");
    const bool automatic = request.device == "auto";
    const std::string& name = automatic ? request.from_environment : request.device;
    if (!name.empty() && name != "card") {
        const auto wav = wav_path_in(name, !automatic);
        return wav ? wav_source(*wav) : alsa_device(capture_variable, name);
    }
    if (!card_has(request.proc_asound, card_pcm)) {
        throw program_error("no sound card 0 with a capture device 0 (" +
                            (request.proc_asound / "card0" / card_pcm).string() +
                            " is missing); use --device FILE.wav or the name of an ALSA PCM");
    }
    return card_device(capture_variable, request.proc_asound, card_pcm);
}
