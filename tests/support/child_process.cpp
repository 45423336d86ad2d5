#include "tests/support/child_process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void give_up(const std::string& why) {
    std::fprintf(stderr, "child_process: %s\n", why.c_str());
    std::abort();
}

// The child's first line; what there is of it when the child ends or takes too long.
std::string first_line(int pipe_end) {
    constexpr int patience_ms = 60000;
    std::string line;
    pollfd wait_for = {pipe_end, POLLIN, 0};
    char letter = 0;
    while (poll(&wait_for, 1, patience_ms) > 0 && read(pipe_end, &letter, 1) == 1 &&
           letter != '\n') {
        line += letter;
    }
    return line;
}

}  // namespace

child_process::child_process(const std::string& program,
                             const std::vector<std::string>& arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        give_up(std::strerror(errno));
    }
    std::vector<char*> words = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error = posix_spawn(&pid_, program.c_str(), &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        give_up(program + ": " + std::strerror(error));
    }
    const std::string said = first_line(ends[0]);
    close(ends[0]);
    if (said.rfind("ready", 0) != 0) {
        end();
        give_up(program + " said '" + said + "' instead of ready");
    }
}

child_process::~child_process() {
    end();
}

void child_process::pause() {
    send(SIGSTOP);
    int status = 0;
    while (waitpid(pid_, &status, WUNTRACED) < 0 && errno == EINTR) {
    }
    if (!WIFSTOPPED(status)) {
        give_up("a child ended instead of stopping");
    }
}

int child_process::wait() {
    int status = 0;
    if (pid_ > 0) {
        while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
    }
    return status;
}

void child_process::end() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
}

void die_with_parent() {
    const pid_t parent = getppid();
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || parent != getppid()) {
        std::_Exit(1);
    }
}
