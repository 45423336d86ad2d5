// What look-ups answer from: the file as it was last read, under this process's overrides.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace properties {

using value_map = std::map<std::string, std::string, std::less<>>;

class property_cache {
  public:
    // The value, or "" for none.
    std::string find(std::string_view key);

    // Every property that has a value.
    value_map all();

    // A null value ends the override.
    void set_override(std::string_view key, const char* value);
    void clear_overrides();

  private:
    // Reads the file again if it may have changed. Answers a problem that is new since the last
    // call, to be reported without the lock: a logger may itself look properties up.
    int refresh(const std::string& path);
    bool is_current(const std::string& path) const;
    static void report(const std::string& path, int problem);

    std::mutex mutex_;

    // All guarded by mutex_.
    value_map overrides_;
    value_map values_;
    std::string path_;
    int problem_ = 0;
    struct stat status_ = {};  // of the file that was read
    // Whether there is no file, or it was so young when it was read that another change could leave
    // its times as they were: it is read again then, whatever its times say.
    bool may_change_unseen_ = true;
};

// The process's one cache. Never destroyed: threads may look properties up while the process ends.
property_cache& cache();

}  // namespace properties
