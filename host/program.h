// What every program does around its work: the command line's frame, and how it ends.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

// Gives the parser, which is named for its program, --help with this text at its end, and
// --version.
void declare_program(CLI::App& app, const char* footer);

// False when help or the version was asked for and has been printed. Throws program_error
// (exit_usage) for a command line that is wrong.
bool parse_command_line(CLI::App& app, int argc, char** argv);

// main(): what `run` answers, or the status of the error that it throws, which is printed in one
// line on standard error; a failure too where standard output did not take all that was printed.
// `memory_advice` says what to do when memory is short.
int run_program(const char* name, const char* memory_advice, int (*run)(int argc, char** argv),
                int argc, char** argv);
