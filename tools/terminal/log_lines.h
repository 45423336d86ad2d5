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

    // Keeps none of the lines that follow.
    void stop_keeping();
};

// Keeps no more lines once it goes. Made right after a device, it goes before that closes, which is
// loud without a player service and says nothing about what was played or recorded.
class problems_until_device_closes {
  public:
    explicit problems_until_device_closes(log_lines& log) : log_(log) {}
    ~problems_until_device_closes() { log_.stop_keeping(); }
    problems_until_device_closes(const problems_until_device_closes&) = delete;
    problems_until_device_closes& operator=(const problems_until_device_closes&) = delete;

  private:
    log_lines& log_;
};

// "E audio_hal: text (3 times)"
std::string to_text(const log_line& line);

// ", <reason>" out of the first warning or error kept; empty without one.
std::string module_reason(const log_lines& log);
