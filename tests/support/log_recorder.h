// Keeps the log lines of the process while it lives, instead of printing them. One at a time.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include <android/log.h>

struct log_line {
    int priority;  // ANDROID_LOG_*
    std::string tag;
    std::string text;
};

bool operator==(const log_line& a, const log_line& b);
std::ostream& operator<<(std::ostream& stream, const log_line& line);

// Such texts as one, for tables.
std::string joined(const std::vector<std::string>& texts);

class log_recorder {
  public:
    log_recorder();
    ~log_recorder();
    log_recorder(const log_recorder&) = delete;
    log_recorder& operator=(const log_recorder&) = delete;

    // All lines since the start or the last clear(), in the order in which they were logged.
    std::vector<log_line> lines() const;
    // Their texts, in which the printed addresses stand under such names.
    std::vector<std::string> texts(const std::map<const void*, std::string>& names = {}) const;
    void clear();

    // Lines of exactly this text; of any priority and tag where those are not given.
    int count(const std::string& text) const;
    int count(int priority, const std::string& tag, const std::string& text) const;
    bool has(int priority, const std::string& tag, const std::string& text) const {
        return count(priority, tag, text) > 0;
    }
    // Lines that contain the text.
    int count_containing(const std::string& part) const;
};
