// corvex-hal run by a test in its current folder, with what it printed: to the files printed.out
// and printed.err, which a test may make links to devices beforehand. It does not outlive the
// object.
#pragma once

#include <signal.h>
#include <string>
#include <sys/types.h>
#include <vector>

struct finished {
    int exit_code = -1;  // -1 when a signal ended it
    int signal = 0;      // 0 when it exited by itself
    std::string out;
    std::string err;

    // It ended with this code, printed nothing but one line on standard error, and that says what
    // is wrong, with this text in it, and what to do.
    void expect_error(int code, const std::string& says) const;
};

using words = std::vector<std::string>;

class subprocess {
  public:
    // corvex-hal without the sink, modules or properties of whoever runs the test; `variables` are
    // "NAME=value".
    explicit subprocess(const words& arguments, const words& variables = {});
    ~subprocess();  // kills what still runs
    subprocess(const subprocess&) = delete;
    subprocess& operator=(const subprocess&) = delete;

    void send(int signal) const { kill(pid_, signal); }
    finished wait();

  private:
    pid_t pid_ = -1;
};

// Runs corvex-hal and waits for it.
finished run_program(const words& arguments, const words& variables = {});

// The same with the fake module, which has variables to tell it how to behave (fake_module.cpp).
finished run_with_fake(const words& variables, words arguments);

bool has(const std::string& text, const std::string& part);
