#include "tools/service/service_process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "host/program_error.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds ready_within(10'000);
constexpr milliseconds look_every(5);
constexpr std::chrono::seconds stop_within(5);
constexpr int exec_failed = 127;

// The last line with anything in it; services end with what went wrong.
std::string last_line(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::string last;
    for (std::string line; std::getline(file, line);) {
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            last = line;
        }
    }
    return last;
}

// In the child, between fork and exec: async-signal-safe calls only.
[[noreturn]] void become(char* const* arguments, const char* output, const char* log,
                         pid_t parent) {
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(output, flags, 0600);
    const int err = open(log, flags, 0600);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (in >= 0 && out >= 0 && err >= 0 && dup2(in, STDIN_FILENO) >= 0 &&
        dup2(out, STDOUT_FILENO) >= 0 && dup2(err, STDERR_FILENO) >= 0 && getppid() == parent) {
        close(in);
        close(out);
        close(err);
        execvp(arguments[0], arguments);
    }
    _exit(exec_failed);
}

}  // namespace

service_process::service_process(const std::string& program,
                                 const std::vector<std::string>& arguments,
                                 std::filesystem::path output, std::filesystem::path log)
    : output_(std::move(output)), log_(std::move(log)) {
    start(program, arguments);
    const auto deadline = steady_clock::now() + ready_within;
    while (!is_ready()) {
        if (wait_for_end(look_every)) {
            throw program_error("the player service '" + program + "' did not start: " +
                                how_it_ended() + "; run it by itself to see more");
        }
        if (steady_clock::now() > deadline) {
            stop();
            throw program_error("the player service '" + program +
                                "' did not get ready; run it by itself to see why");
        }
    }
}

service_process::~service_process() {
    stop();
}

void service_process::start(const std::string& program, const std::vector<std::string>& arguments) {
    for (const auto& path : {output_, log_}) {
        if (!std::ofstream(path, std::ios::trunc)) {
            throw program_error("'" + path.string() +
                                "' cannot be written for the player service; "
                                "name a file in another folder");
        }
    }
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0) {
        throw program_error("cannot start the player service: " +
                            std::string(std::strerror(errno)) + "; end other programs first");
    }
    if (pid_ == 0) {
        become(argv.data(), output_.c_str(), log_.c_str(), parent);
    }
    running_ = true;
}

bool service_process::is_ready() const {
    std::ifstream file(output_);
    for (std::string line; std::getline(file, line) && !file.eof();) {
        if (line.find("ready") != std::string::npos) {
            return true;
        }
    }
    return false;
}

// True when it has ended; then it has been waited for.
bool service_process::wait_for_end(milliseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    while (running_) {
        running_ = waitpid(pid_, &status_, WNOHANG) == 0;
        if (steady_clock::now() >= deadline) {
            break;
        }
        if (running_) {
            std::this_thread::sleep_for(look_every);
        }
    }
    return !running_;
}

std::string service_process::how_it_ended() const {
    std::string text;
    if (WIFSIGNALED(status_)) {
        text = "it was ended by signal " + std::to_string(WTERMSIG(status_));
    } else {
        text = "it exited with status " + std::to_string(WEXITSTATUS(status_));
        if (WEXITSTATUS(status_) == exec_failed) {
            text += ", so it may be no program";
        }
    }
    const std::string last = last_line(log_);
    return last.empty() ? text : text + ", and said last: " + last;
}

std::string service_process::ended() {
    return wait_for_end({}) ? how_it_ended() : "";
}

std::string service_process::stop() {
    if (!running_) {
        return stopped_;
    }
    if (wait_for_end({})) {
        return stopped_ = how_it_ended();
    }
    kill(pid_, SIGTERM);
    if (!wait_for_end(stop_within)) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status_, 0);
        running_ = false;
        return stopped_ = "it did not end within " + std::to_string(stop_within.count()) +
                          " s and was killed";
    }
    const bool clean = WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
    return stopped_ = clean ? "" : how_it_ended();
}
