#include "host/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "host/program_error.h"

namespace {

void print_error(const char* name, std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    std::fprintf(stderr, "%s: %s\n", name, line.c_str());
}

}  // namespace

void declare_program(CLI::App& app, const char* footer) {
    app.set_version_flag("--version", app.get_name() + " " CORVEX_VERSION);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.footer(footer);
}

bool parse_command_line(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::Success& asked) {
        app.exit(asked);
        return false;
    } catch (const CLI::ParseError& error) {
        const auto parsed = app.get_subcommands();
        const std::vector<std::string> rest = app.remaining();
        if (app.get_require_subcommand_min() > 0 && parsed.empty() && !rest.empty()) {
            throw program_error("there is no command '" + rest.front() + "'; see '" +
                                    app.get_name() + " --help' for those there are",
                                exit_usage);
        }
        const std::string of = parsed.empty() ? "" : " " + parsed.front()->get_name();
        throw program_error(
            std::string(error.what()) + "; see '" + app.get_name() + of + " --help'", exit_usage);
    }
}

int run_program(const char* name, const char* memory_advice, int (*run)(int argc, char** argv),
                int argc, char** argv) {
    try {
        const int code = run(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw program_error("cannot write to standard output; check where it goes");
        }
        return code;
    } catch (const program_error& error) {
        print_error(name, error.what());
        return error.code();
    } catch (const std::bad_alloc&) {
        print_error(name, std::string("out of memory; ") + memory_advice);
    } catch (const std::exception& error) {
        print_error(name, error.what());
    }
    return exit_failure;
}
