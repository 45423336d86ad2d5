// Takes the module's log lines for as long as it lives: shows them, or keeps the warnings and
// errors until someone asks what went wrong.
//
// One at a time in a process. Lines may come from any thread; the other members are for one thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct log_line {
    int priority;
    std::string tag;
    std::string text;  // one line, no control characters
    uint64_t count;    // how often it came
};

class log_lines {
  public:
    // 0 shows nothing, 1 shows debug lines and up on standard error, 2 verbose lines too. Warnings
    // and errors are kept in every case.
    explicit log_lines(unsigned verbosity);
    ~log_lines();
    log_lines(const log_lines&) = delete;
    log_lines& operator=(const log_lines&) = delete;

    bool shown() const;

    // Different warnings and errors in the order they first came, at most a few dozen.
    std::vector<log_line> problems() const;

    // Forgets the lines kept so far, so that problems() speaks of what comes next.
    void forget();
};

// "E audio_hal: text (3 times)"
std::string to_text(const log_line& line);
