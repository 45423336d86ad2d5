#include "tests/tools/subprocess.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> merged_environment(const environment& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (changes.count(text.substr(0, text.find('='))) == 0) {
            result.push_back(text);
        }
    }
    for (const auto& [key, value] : changes) {
        if (!value.empty()) {
            result.push_back(key + "=" + value);
        }
    }
    return result;
}

std::string content_of(int fd) {
    std::string text;
    char block[4096];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t got; (got = read(fd, block, sizeof(block))) > 0;) {
        text.append(block, static_cast<size_t>(got));
    }
    return text;
}

}  // namespace

subprocess::subprocess(const std::vector<std::string>& arguments, const environment& changes,
                       const std::vector<int>& inherited, int stderr_fd)
    : out_fd_(memfd_create("stdout", MFD_CLOEXEC)), err_fd_(memfd_create("stderr", MFD_CLOEXEC)) {
    // All memory is made before the fork; the child only calls the system.
    std::vector<std::string> argument_texts = arguments;
    std::vector<std::string> environment_texts = merged_environment(changes);
    const std::vector<char*> argv = pointers(argument_texts);
    const std::vector<char*> envp = pointers(environment_texts);
    const int child_stderr = stderr_fd >= 0 ? stderr_fd : err_fd_;
    pid_ = fork();
    if (pid_ == 0) {
        dup2(out_fd_, STDOUT_FILENO);
        dup2(child_stderr, STDERR_FILENO);
        for (const int fd : inherited) {
            fcntl(fd, F_SETFD, 0);
        }
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
}

subprocess::~subprocess() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(out_fd_);
    close(err_fd_);
}

void subprocess::send(int signal) const {
    ASSERT_GT(pid_, 0);
    ASSERT_EQ(kill(pid_, signal), 0);
}

finished subprocess::wait() {
    finished result;
    int status = 0;
    if (pid_ <= 0 || waitpid(pid_, &status, 0) != pid_) {
        ADD_FAILURE() << "no process to wait for";
        return result;
    }
    pid_ = -1;
    if (WIFEXITED(status)) {
        result.exit_code = WEXITSTATUS(status);
    } else {
        result.signal = WTERMSIG(status);
    }
    result.out = content_of(out_fd_);
    result.err = content_of(err_fd_);
    return result;
}

environment clean_environment() {
    return {{"CORVEX_ALSA_PLAYBACK", ""},
            {"CORVEX_MODULE_PATH", ""},
            {"CORVEX_WAV_PACE", ""},
            {"CORVEX_PROPERTY_FILE", "properties"}};
}

finished run_program(const std::vector<std::string>& arguments, environment changes) {
    std::vector<std::string> all = {CORVEX_HAL_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    changes.merge(clean_environment());
    subprocess program(all, changes);
    return program.wait();
}

finished run_with_fake(const std::string& script, std::vector<std::string> arguments,
                       environment changes) {
    arguments.insert(arguments.begin(), {"--module", FAKE_MODULE_FILE});
    changes["FAKE_HAL_SCRIPT"] = script;
    return run_program(arguments, changes);
}
