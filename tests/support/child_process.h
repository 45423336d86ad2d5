// Another process of a test: a program of ours, found by its path or in PATH, in the test's folder.
// It is killed with the object, and, where it calls die_with_parent(), when the test itself dies.
#pragma once

#include <signal.h>
#include <string>
#include <sys/types.h>
#include <vector>

using words = std::vector<std::string>;

struct finished {
    int exit_code = -1;  // -1 when a signal ended it
    int signal = 0;      // 0 when it exited by itself
    std::string out;     // of a printing process
    std::string err;
};

class child_process {
  public:
    // A service waits in the constructor until it says "ready" on its standard output. What a
    // printing process prints is in the files printed.out and printed.err, which a test may make
    // links to devices beforehand.
    enum class kind { service, printing };

    child_process(const std::string& program, const words& arguments, kind which = kind::service);
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    pid_t pid() const { return pid_; }
    void send(int signal) const { kill(pid_, signal); }
    // Stops all its threads (SIGSTOP), and waits until they are.
    void pause();
    // Waits for the end.
    finished wait();
    // Kills it and waits for it.
    void end();

  private:
    pid_t pid_ = -1;
};

// Runs a program to its end.
finished run_to_end(const std::string& program, const words& arguments);

// For the child: dies when the test that started it does.
void die_with_parent();
