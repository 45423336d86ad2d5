#include "tests/support/log_recorder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <ostream>

#include <android/log.h>

namespace {

std::mutex lines_mutex;
std::vector<log_line> recorded_lines;

void record(const struct __android_logger_data* data, const char* message) {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    recorded_lines.push_back({data->priority, data->tag != nullptr ? data->tag : "", message});
}

}  // namespace

bool operator==(const log_line& a, const log_line& b) {
    return a.priority == b.priority && a.tag == b.tag && a.text == b.text;
}

std::ostream& operator<<(std::ostream& stream, const log_line& line) {
    return stream << '[' << line.priority << ' ' << line.tag << "] \"" << line.text << '"';
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : " | ") + text;
    }
    return all;
}

log_recorder::log_recorder() {
    clear();
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(record);
}

log_recorder::~log_recorder() {
    __android_log_set_logger(__android_log_stderr_logger);
    __android_log_set_minimum_priority(ANDROID_LOG_INFO);
}

std::vector<log_line> log_recorder::lines() const {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    return recorded_lines;
}

std::vector<std::string> log_recorder::texts(
    const std::map<const void*, std::string>& names) const {
    std::vector<std::string> all;
    for (const log_line& line : lines()) {
        all.push_back(line.text);
        for (const auto& [address, name] : names) {
            char shown[32];
            snprintf(shown, sizeof(shown), "%p", address);
            const size_t at = all.back().find(shown);
            if (at != std::string::npos) {
                all.back().replace(at, strlen(shown), name);
            }
        }
    }
    return all;
}

void log_recorder::clear() {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    recorded_lines.clear();
}

int log_recorder::count(const std::string& text) const {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    return static_cast<int>(std::count_if(recorded_lines.begin(), recorded_lines.end(),
                                          [&](const log_line& line) { return line.text == text; }));
}

int log_recorder::count(int priority, const std::string& tag, const std::string& text) const {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    return static_cast<int>(
        std::count(recorded_lines.begin(), recorded_lines.end(), log_line{priority, tag, text}));
}

int log_recorder::count_containing(const std::string& part) const {
    const std::lock_guard<std::mutex> lock(lines_mutex);
    return static_cast<int>(std::count_if(
        recorded_lines.begin(), recorded_lines.end(),
        [&](const log_line& line) { return line.text.find(part) != std::string::npos; }));
}
