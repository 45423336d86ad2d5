// What a program ends with, and the exception that carries an error up to its main().
#pragma once

#include <stdexcept>
#include <string>

enum exit_code : int {
    exit_success = 0,
    exit_failure = 1,        // what was asked for could not be done
    exit_usage = 2,          // the command line itself is wrong
    exit_interrupted = 130,  // SIGINT or SIGTERM before the end; everything was closed in order
};

// One line for a person: what is wrong and, after a semicolon, what to do about it. run_program()
// prints it behind the program's name.
class program_error : public std::runtime_error {
  public:
    explicit program_error(const std::string& line, exit_code code = exit_failure)
        : std::runtime_error(line), code_(code) {}

    exit_code code() const { return code_; }

  private:
    exit_code code_;
};
