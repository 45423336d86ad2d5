#include "tests/support/child_process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/test_audio.h"

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

constexpr const char* out_file = "printed.out";
constexpr const char* err_file = "printed.err";

std::string printed(const char* path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) ? contents(path) : "";
}

}  // namespace

child_process::child_process(const std::string& program, const words& arguments, kind which) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        give_up(std::strerror(errno));
    }
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (which == kind::service) {
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    } else {
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_file, flags, 0600);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_file, flags, 0600);
    }
    const int error = posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        give_up(program + ": " + std::strerror(error));
    }
    const std::string said = which == kind::service ? first_line(ends[0]) : "";
    close(ends[0]);
    if (which == kind::service && said.rfind("ready", 0) != 0) {
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

finished child_process::wait() {
    int status = 0;
    while (pid_ > 0 && waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            WIFSIGNALED(status) ? WTERMSIG(status) : 0, printed(out_file), printed(err_file)};
}

void child_process::end() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
}

finished run_to_end(const std::string& program, const words& arguments) {
    return child_process(program, arguments, child_process::kind::printing).wait();
}

void die_with_parent() {
    const pid_t parent = getppid();
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || parent != getppid()) {
        std::_Exit(1);
    }
}
