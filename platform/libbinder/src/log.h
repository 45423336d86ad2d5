// The library's log lines. On the loop's thread a line is handed to the executor, because whoever
// takes log lines may block.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <android/log.h>
#include <utils/Mutex.h>

#define BINDER_LOG(priority, ...) \
    android::corvex_binder::log_line(ANDROID_LOG_##priority, __VA_ARGS__)

namespace android::corvex_binder {

void log_line(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// How often lines of each format have been caused by one process. So that nobody fills the log, the
// first is logged, then one whenever their number is a power of ten, and the last of all, with the
// number, once the process is forgotten.
class complaints {
  public:
    complaints() = default;
    ~complaints();
    complaints(const complaints&) = delete;
    complaints& operator=(const complaints&) = delete;

    // Counts one; whether it is to be logged, with the number added to the text.
    bool add(const char* format, std::string* text);

  private:
    struct line_count {
        uint64_t times = 0;
        std::string left_out;  // the last one, where it was not logged
    };

    Mutex mutex_;
    // By the format's address: there are as many as calls of complain().
    std::map<const char*, line_count> lines_ GUARDED_BY(mutex_);
};

// Logs what another process has caused, within that limit; without one where `about` is null.
void complain(complaints* about, const char* format, ...) __attribute__((format(printf, 2, 3)));

// About the process whose call this thread serves; null where it serves none.
complaints* caller_complaints();

}  // namespace android::corvex_binder
