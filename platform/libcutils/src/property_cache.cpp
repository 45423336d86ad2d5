#define LOG_TAG "libcutils"
#include "property_cache.h"

#include <errno.h>
#include <string.h>
#include <time.h>
#include <utility>

#include <android/log.h>

#include "property_file.h"
#include "property_path.h"
#include "property_syntax.h"

namespace properties {
namespace {

// Longer than the tick of any file system's clock (FAT: 2 s).
constexpr int64_t kYoungSeconds = 3;

bool same_time(const struct timespec& a, const struct timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool is_young(const struct stat& status) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    // Also true for a time in the future, after the clock was set back.
    return now.tv_sec - status.st_ctim.tv_sec < kYoungSeconds;
}

}  // namespace

bool property_cache::is_current(const std::string& path) const {
    struct stat now;
    return !may_change_unseen_ && stat(path.c_str(), &now) == 0 && now.st_dev == status_.st_dev &&
           now.st_ino == status_.st_ino && now.st_size == status_.st_size &&
           same_time(now.st_mtim, status_.st_mtim) && same_time(now.st_ctim, status_.st_ctim);
}

int property_cache::refresh(const std::string& path) {
    if (is_current(path)) {
        return 0;
    }
    file_content file;
    const int result = path.empty() ? -ENOENT : read_file(path, &file);
    value_map values;
    for_each_line(file.text, [&values](std::string_view line, std::string_view) {
        entry found;
        if (parse_line(line, &found)) {
            values.insert_or_assign(std::string(found.key), std::string(found.value));
        }
    });
    std::string read_path = path;
    // From here on nothing fails: memory that runs out above leaves the old state whole.
    const bool another_path = path != path_;
    path_.swap(read_path);
    values_.swap(values);
    status_ = file.status;
    may_change_unseen_ = result != 0 || is_young(status_);
    // No file is the usual state of a fresh machine, not a problem.
    const int problem = result == -ENOENT ? 0 : result;
    const int before = std::exchange(problem_, problem);
    return problem != before || another_path ? problem : 0;
}

void property_cache::report(const std::string& path, int problem) {
    if (problem != 0) {
        __android_log_print(ANDROID_LOG_ERROR, LOG_TAG,
                            "property file %s ignored: %s; it must be a readable text file below "
                            "1 MiB",
                            path.c_str(),
                            problem == -EINVAL ? "Not a regular file" : strerror(-problem));
    }
}

std::string property_cache::find(std::string_view key) {
    const std::string path = file_path();
    std::string value;
    int problem = 0;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        const auto override = overrides_.find(key);
        if (override != overrides_.end()) {
            return override->second;
        }
        problem = refresh(path);
        const auto found = values_.find(key);
        if (found != values_.end()) {
            value = found->second;
        }
    }
    report(path, problem);
    return value;
}

value_map property_cache::all() {
    const std::string path = file_path();
    value_map merged;
    int problem = 0;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        problem = refresh(path);
        merged = overrides_;
        merged.insert(values_.begin(), values_.end());
    }
    report(path, problem);
    for (auto at = merged.begin(); at != merged.end();) {
        at = at->second.empty() ? merged.erase(at) : std::next(at);
    }
    return merged;
}

void property_cache::set_override(std::string_view key, const char* value) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const auto found = overrides_.find(key);
    if (value != nullptr) {
        overrides_.insert_or_assign(std::string(key), value);
    } else if (found != overrides_.end()) {
        overrides_.erase(found);
    }
}

void property_cache::clear_overrides() {
    const std::lock_guard<std::mutex> guard(mutex_);
    overrides_.clear();
}

property_cache& cache() {
    static property_cache& instance = *new property_cache;
    return instance;
}

}  // namespace properties
