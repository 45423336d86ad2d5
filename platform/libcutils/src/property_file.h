// The property file as bytes: read whole, and changed one key at a time by replacing it.
#pragma once

#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace properties {

// A larger file is taken for a mistake: it is neither read nor written.
constexpr size_t kMaxFileBytes = size_t{1} << 20;

struct file_content {
    std::string text;
    struct stat status = {};  // as it was before the text was read
};

// Reads the regular file `path`. 0; a negative errno: -ENOENT when there is none, -EINVAL when it
// is not a regular file, -EFBIG when it is above kMaxFileBytes.
int read_file(const std::string& path, file_content* out);

// Sets `key` to `value` (both valid) in the file `path`, creating it with its folder where needed.
// Setters in all threads and processes take turns by a lock on `<path>.lock`; readers see the old
// file or the new one. 0, or a negative errno with the file as it was.
int set_in_file(const std::string& path, std::string_view key, std::string_view value);

}  // namespace properties
