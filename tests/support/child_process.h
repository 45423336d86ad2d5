// Another process of a test: a program of ours that says "ready" on its standard output once it may
// be used. It is killed with the object, and when the test itself dies.
#pragma once

#include <signal.h>
#include <string>
#include <sys/types.h>
#include <vector>

class child_process {
  public:
    // Starts `program` and waits for its first line, which must begin with "ready".
    child_process(const std::string& program, const std::vector<std::string>& arguments);
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    pid_t pid() const { return pid_; }
    void send(int signal) const { kill(pid_, signal); }
    // Stops all its threads (SIGSTOP), and waits until they are.
    void pause();
    // Waits for the end: its wait status.
    int wait();
    // Kills it and waits for it.
    void end();

  private:
    pid_t pid_ = -1;
};

// For the child: dies when the test that started it does.
void die_with_parent();
