#include "tests/tools/subprocess.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/tools/audio_samples.h"

void finished::expect_error(int code, const std::string& says) const {
    EXPECT_EQ(exit_code, code);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err.rfind("corvex-hal: ", 0), 0U) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_TRUE(has(err, says)) << "expected: " << says << "\nprinted: " << err;
    EXPECT_TRUE(has(err, "; ")) << err;
}

subprocess::subprocess(const words& arguments, const words& variables) {
    // Services that may run elsewhere are not found, and temporary files are left here if any are.
    words all = {"env", "CORVEX_PROPERTY_FILE=properties", "CORVEX_BINDER_DIR=no_services",
                 "CORVEX_BINDER_WAIT_MS=0", "TMPDIR=."};
    for (const char* name : {"CORVEX_ALSA_PLAYBACK", "CORVEX_ALSA_CAPTURE", "CORVEX_MODULE_PATH",
                             "CORVEX_WAV_PACE", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
        all.insert(all.begin() + 1, {"-u", name});
    }
    all.insert(all.end(), variables.begin(), variables.end());
    all.emplace_back(CORVEX_HAL_PROGRAM);
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : all) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "printed.out", flags, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "printed.err", flags, 0600);
    EXPECT_EQ(posix_spawnp(&pid_, "env", &files, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&files);
}

subprocess::~subprocess() {
    if (pid_ > 0) {
        send(SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

finished subprocess::wait() {
    const auto printed = [](const char* path) {
        return std::filesystem::is_regular_file(path) ? read_bytes(path) : "";
    };
    int status = 0;
    EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            WIFSIGNALED(status) ? WTERMSIG(status) : 0, printed("printed.out"),
            printed("printed.err")};
}

finished run_program(const words& arguments, const words& variables) {
    return subprocess(arguments, variables).wait();
}

finished run_with_fake(const words& variables, words arguments) {
    arguments.insert(arguments.begin(), {"--module", FAKE_MODULE_FILE});
    return run_program(arguments, variables);
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
