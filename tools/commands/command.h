// What a sub-command is to main(): a row of a table that adds its arguments to the parser and runs.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class log_lines;

// Options that stand before or after any sub-command.
struct global_options {
    std::string module_path;                                              // empty: search for it
    std::vector<std::pair<std::string, std::string>> property_overrides;  // for this run only
    unsigned verbosity = 0;
};

class command {
  public:
    virtual ~command() = default;

    // Declares options and positional arguments; `app` outlives the command's run.
    virtual void declare(CLI::App& app) = 0;

    // Does the work; returns an exit_code. Errors are program_error. `log` has taken the module's
    // lines since before the module was loaded.
    virtual int run(const global_options& options, log_lines& log) = 0;
};

struct command_entry {
    const char* name;
    const char* summary;  // one line for the list
    const char* details;  // examples and exit codes below the command's own help
    std::unique_ptr<command> (*create)();
};

// All sub-commands, in the order of the help.
const std::vector<command_entry>& command_table();

std::unique_ptr<command> make_play();
std::unique_ptr<command> make_record();
std::unique_ptr<command> make_loop();
std::unique_ptr<command> make_tunnel();
std::unique_ptr<command> make_passthrough();
std::unique_ptr<command> make_sync();
std::unique_ptr<command> make_info();
std::unique_ptr<command> make_getprop();
std::unique_ptr<command> make_setprop();
