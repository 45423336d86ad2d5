// corvex-hal: loads the audio module the way the audio server does, plays and records through it,
// inspects and configures it. Sub-commands are in command_table.cpp.

#include <memory>
#include <string>
#include <vector>

#include <cutils/property_overrides.h>

#include "host/program.h"
#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/terminal/log_lines.h"

namespace {

constexpr char footer[] =
    "Exit status: 0 done, 1 it failed, 2 the command line is wrong, 130 interrupted.\n\n"
    "Examples:\n"
    "  corvex-hal play song.flac                   to card 0, or to song.played.wav\n"
    "  corvex-hal play song.flac --device out.wav  to a WAV file\n"
    "  corvex-hal record voice.wav --seconds 5     from card 0\n"
    "  corvex-hal info                             what the module offers\n"
    "  corvex-hal setprop persist.audiohal.log.all 1\n"
    "  corvex-hal play --help                      more about one command\n";

std::pair<std::string, std::string> split_override(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw program_error("--prop '" + text +
                                "' is not KEY=VALUE; give for example "
                                "--prop persist.audiohal.log.all=1",
                            exit_usage);
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

void apply_overrides(const global_options& options) {
    for (const auto& [key, value] : options.property_overrides) {
        if (property_override(key.c_str(), value.c_str()) != 0) {
            throw program_error(
                "--prop '" + key +
                    "' cannot be set: a key has letters, digits and . _ - @ : only, and a "
                    "value at most 91 bytes in one line; correct it",
                exit_usage);
        }
    }
}

struct subcommand {
    CLI::App* app;
    std::unique_ptr<command> action;
};

int run(int argc, char** argv) {
    CLI::App app("Plays and records through the primary audio module, inspects and configures it.",
                 "corvex-hal");
    declare_program(app, footer);
    app.require_subcommand(1);

    global_options options;
    std::vector<std::string> overrides;
    app.add_option("--module", options.module_path,
                   "Module file to load; searched for when left out")
        ->type_name("PATH");
    app.add_option("--prop", overrides, "Property for this run only; may be repeated")
        ->type_name("KEY=VALUE")
        ->expected(1)
        ->take_all();
    app.add_flag("-v,--verbose", options.verbosity,
                 "Show the module's log from debug priority up; -vv from verbose up");

    std::vector<subcommand> subcommands;
    for (const command_entry& entry : command_table()) {
        CLI::App* sub = app.add_subcommand(entry.name, entry.summary);
        sub->fallthrough();
        sub->footer(entry.details);
        subcommands.push_back({sub, entry.create()});
        subcommands.back().action->declare(*sub);
    }

    if (!parse_command_line(app, argc, argv)) {
        return exit_success;
    }
    log_lines log(options.verbosity);
    for (const std::string& text : overrides) {
        options.property_overrides.push_back(split_override(text));
    }
    apply_overrides(options);
    for (const subcommand& sub : subcommands) {
        if (sub.app->parsed()) {
            return sub.action->run(options, log);
        }
    }
    return exit_usage;
}

}  // namespace

int main(int argc, char** argv) {
    return run_program("corvex-hal", "close other programs or play a smaller file", run, argc,
                       argv);
}
