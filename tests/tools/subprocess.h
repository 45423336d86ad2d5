// A program run by a test, with what it printed. Nothing of it outlives the object.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

struct finished {
    int exit_code = -1;  // -1 when a signal ended it
    int signal = 0;      // 0 when it exited by itself
    std::string out;
    std::string err;
};

using environment = std::map<std::string, std::string>;  // an empty value unsets

class subprocess {
  public:
    // Runs arguments[0]. `stderr_fd`, where given, is the child's standard error (and stays the
    // caller's). `inherited` are descriptors that the child keeps under their own numbers.
    subprocess(const std::vector<std::string>& arguments, const environment& changes,
               const std::vector<int>& inherited = {}, int stderr_fd = -1);
    ~subprocess();  // kills what still runs
    subprocess(const subprocess&) = delete;
    subprocess& operator=(const subprocess&) = delete;

    void send(int signal) const;
    finished wait();

  private:
    pid_t pid_ = -1;
    int out_fd_ = -1;
    int err_fd_ = -1;
};

// A fresh environment for corvex-hal: no sink, module or property file of whoever runs the test.
environment clean_environment();

// Runs corvex-hal with the arguments and waits for it.
finished run_program(const std::vector<std::string>& arguments, environment changes = {});

// The same with the fake module, told by `script` how to behave (fake_script.h).
finished run_with_fake(const std::string& script, std::vector<std::string> arguments,
                       environment changes = {});
