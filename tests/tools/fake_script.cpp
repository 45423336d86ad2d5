#include "tests/tools/fake_script.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sstream>
#include <unistd.h>
namespace {

void append(const char* variable, const void* data, size_t bytes) {
    const char* path = std::getenv(variable);
    if (path == nullptr) {
        return;
    }
    FILE* file = std::fopen(path, "ab");
    if (file != nullptr) {
        std::fwrite(data, 1, bytes, file);
        std::fclose(file);
    }
}

}  // namespace

std::string scripted(const std::string& key, const std::string& otherwise) {
    const char* script = std::getenv("FAKE_HAL_SCRIPT");
    std::istringstream settings(script == nullptr ? "" : script);
    for (std::string one; std::getline(settings, one, ';');) {
        if (one.rfind(key + "=", 0) == 0) {
            return one.substr(key.size() + 1);
        }
    }
    return otherwise;
}

int64_t scripted_number(const std::string& key, int64_t otherwise) {
    const std::string text = scripted(key, "");
    return text.empty() ? otherwise : std::strtoll(text.c_str(), nullptr, 0);
}

void record_call(const std::string& line) {
    append("FAKE_HAL_CALLS", (line + "\n").data(), line.size() + 1);
}

void record_pcm(const void* data, size_t bytes) {
    append("FAKE_HAL_PCM", data, bytes);
}

void pass_gate() {
    int event_fd = -1;
    int gate_fd = -1;
    if (std::sscanf(scripted("gate", "").c_str(), "%d,%d", &event_fd, &gate_fd) != 2) {
        return;
    }
    char byte = 'w';
    if (write(event_fd, &byte, 1) != 1) {
        std::perror("gate");
    }
    // poll() first: the thread sanitizer holds signals back during a read, but not during a poll.
    pollfd gate{gate_fd, POLLIN, 0};
    while (poll(&gate, 1, -1) < 0 && errno == EINTR) {
    }
    if (read(gate_fd, &byte, 1) < 0) {
        std::perror("gate");
    }
}
