// What the program ends with, and the exception that carries an error up to main().
#pragma once

#include <stdexcept>
#include <string>

namespace player_service {

enum exit_code : int {
    exit_success = 0,  // stopped by a signal, in order
    exit_failure = 1,  // it could not start, or has lost sound
    exit_usage = 2,    // the command line is wrong
};

// One line for a person: what is wrong and, after a semicolon, what to do about it.
class service_error : public std::runtime_error {
  public:
    explicit service_error(const std::string& line, exit_code code = exit_failure)
        : std::runtime_error(line), code_(code) {}

    exit_code code() const { return code_; }

  private:
    exit_code code_;
};

}  // namespace player_service
