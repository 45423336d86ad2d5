#include "tools/terminal/log_lines.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

#include <android/log.h>

namespace {

constexpr size_t max_kept_lines = 48;

// liblog's logger is a plain function for the whole process, so what it fills is static as well.
// Lines may still come from the module's threads after the owner is gone; `active` drops them.
struct log_state {
    std::mutex lock;
    bool active = false;
    bool shown = false;
    bool keeps = true;
    std::vector<log_line> kept;
};

log_state& state() {
    static log_state the_state;
    return the_state;
}

char letter(int priority) {
    constexpr char letters[] = "??VDIWEF";
    return priority >= 0 && priority < 8 ? letters[priority] : '?';
}

std::string one_line(const char* message) {
    std::string text = message == nullptr ? "" : message;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

void keep(std::vector<log_line>& kept, const log_line& line) {
    const auto same = std::find_if(kept.begin(), kept.end(), [&](const log_line& other) {
        return other.priority == line.priority && other.tag == line.tag && other.text == line.text;
    });
    if (same != kept.end()) {
        ++same->count;
    } else if (kept.size() < max_kept_lines) {
        kept.push_back(line);
    }
}

void take_line(const __android_logger_data* data, const char* message) {
    const log_line line{data->priority, data->tag == nullptr ? "-" : data->tag, one_line(message),
                        1};
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    if (!s.active) {
        return;
    }
    if (s.shown) {
        std::fprintf(stderr, "%s\n", to_text(line).c_str());
    }
    if (s.keeps && line.priority >= ANDROID_LOG_WARN) {
        keep(s.kept, line);
    }
}

}  // namespace

log_lines::log_lines(unsigned verbosity) {
    log_state& s = state();
    {
        const std::lock_guard<std::mutex> guard(s.lock);
        s.active = true;
        s.shown = verbosity > 0;
        s.keeps = true;
        s.kept.clear();
    }
    constexpr int minimum[] = {ANDROID_LOG_WARN, ANDROID_LOG_DEBUG, ANDROID_LOG_VERBOSE};
    __android_log_set_minimum_priority(minimum[std::min(verbosity, 2U)]);
    __android_log_set_logger(take_line);
}

log_lines::~log_lines() {
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    s.active = false;
}

bool log_lines::shown() const {
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    return s.shown;
}

std::vector<log_line> log_lines::problems() const {
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    return s.kept;
}

void log_lines::forget() {
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    s.kept.clear();
}

void log_lines::stop_keeping() {
    log_state& s = state();
    const std::lock_guard<std::mutex> guard(s.lock);
    s.keeps = false;
}

std::string to_text(const log_line& line) {
    std::string text = std::string(1, letter(line.priority)) + " " + line.tag + ": " + line.text;
    if (line.count > 1) {
        text += " (" + std::to_string(line.count) + " times)";
    }
    return text;
}

std::string module_reason(const log_lines& log) {
    const std::vector<log_line> problems = log.problems();
    return problems.empty() ? "" : ", " + problems.front().text;
}
