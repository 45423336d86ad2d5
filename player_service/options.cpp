#include "player_service/options.h"

#include <cstring>
#include <filesystem>

#include "host/device_name.h"
#include "host/program.h"
#include "host/program_error.h"
#include "host/writable_file.h"
#include "player_service/playback/alsa_sink.h"

namespace fs = std::filesystem;

namespace player_service {

namespace {

constexpr char kFooter[] =
    "It stays in the foreground and prints one line once clients can find it. SIGTERM or Ctrl-C\n"
    "stops it in order.\n\n"
    "Exit status: 0 stopped, 1 it could not start, 2 the command line is wrong.\n\n"
    "Examples:\n"
    "  zuavplayerd                                  plays to the sound card\n"
    "  zuavplayerd --device out.wav --pace free     decodes to a file as fast as it can\n"
    "  zuavplayerd --timeline sync.csv              tells timestamps against sound";

constexpr char kDefaultPcm[] = "default";

bool is_card_here(const std::string& proc_asound) {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(proc_asound, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("card", 0) == 0 && name.find_first_of("0123456789") == 4) {
            return true;
        }
    }
    return false;
}

}  // namespace

void choose_output(const std::string& device, daemon_options& options,
                   const std::string& proc_asound) {
    using kind = output_target::kind;
    if (device == "none" || (device == "auto" && !is_card_here(proc_asound))) {
        options.target = {kind::nowhere, ""};
        options.target_text =
            device == "none" ? "nowhere" : "nowhere (there is no sound card; see --device)";
        return;
    }
    if (const auto wav = wav_path_in(device, true)) {
        if (wav->empty()) {
            throw program_error("--device wav: names no file; give wav:FILE", exit_usage);
        }
        const std::string path = fs::absolute(*wav).string();
        if (const int error = writing_error(path); error != 0) {
            throw program_error("'" + path + "' cannot be written: " + std::strerror(error) +
                                "; name a file in another folder");
        }
        options.target = {kind::wav, path};
        options.target_text = "'" + path + "'";
        return;
    }
    const std::string name = device == "auto" || device == "card" ? kDefaultPcm : device;
    if (const std::string reason = alsa_sink::check(name); !reason.empty()) {
        throw program_error("ALSA PCM '" + name + "' does not open: " + reason +
                            "; aplay -L lists the names there are, and --device none plays "
                            "nowhere");
    }
    options.target = {kind::alsa, name};
    options.target_text = "ALSA PCM '" + name + "'";
}

std::optional<daemon_options> parse_options(int argc, char** argv) {
    const auto not_empty = [](const std::string& value) {
        return value.empty() ? std::string("must not be empty") : std::string();
    };
    daemon_options options;
    std::string device = "auto";
    std::string pace = "real";
    CLI::App app("The reference media player service: decodes what clients send and plays it.",
                 "zuavplayerd");
    declare_program(app, kFooter);
    app.add_option("--socket-dir", options.socket_dir,
                   "Folder in which clients find it, private to its user; made if it is not "
                   "there. For clients: CORVEX_BINDER_DIR")
        ->type_name("DIR")
        ->check(not_empty);
    app.add_option("-d,--device", device,
                   "Where to play:\n"
                   "  auto   ALSA's default PCM if there is a sound card, else none\n"
                   "  card   ALSA's default PCM\n"
                   "  none   the sound is dropped\n"
                   "  X.wav  that file, overwritten; X-2.wav and so on for streams that\n"
                   "         differ in channels or rate or play at the same time\n"
                   "  NAME   an ALSA PCM, such as plughw:1")
        ->check(not_empty)
        ->capture_default_str();
    app.add_option("--pace", pace,
                   "How fast files and none take the sound: real, or free for as fast as it "
                   "can be decoded. A card has its own pace")
        ->check(CLI::IsMember({"real", "free"}))
        ->capture_default_str();
    app.add_option("--timeline", options.timeline_path,
                   "CSV file for the timestamps of synchronised streams, overwritten")
        ->type_name("FILE")
        ->check(not_empty);
    app.add_flag("--exit-with-parent", options.exit_with_parent,
                 "Stop when the process that started it ends");
    app.add_flag("-v,--verbose", options.verbose, "Log more, to standard error");
    if (!parse_command_line(app, argc, argv)) {
        return std::nullopt;
    }
    options.real_pace = pace == "real";
    choose_output(device, options);
    return options;
}

}  // namespace player_service
