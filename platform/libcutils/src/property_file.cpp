#include "property_file.h"

#include <cstdlib>
#include <errno.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/file.h>

#include "property_syntax.h"
#include "unique_fd.h"

namespace properties {
namespace {

unique_fd open_file(const std::string& path, int flags, mode_t mode = 0) {
    int fd;
    do {
        fd = open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return unique_fd(fd);
}

int write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return -errno;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return 0;
}

// Removes the new file again unless it took the old one's place.
class new_file {
  public:
    explicit new_file(const std::string& target) : target_(target), path_(target + ".new") {}
    ~new_file() {
        if (fd_) {
            unlink(path_.c_str());
        }
    }
    new_file(const new_file&) = delete;
    new_file& operator=(const new_file&) = delete;

    // `old`: the file to be replaced, whose owner and permissions are kept; null for none.
    int create(std::string_view text, const struct stat* old) {
        unlink(path_.c_str());  // of a setter that died; no other one is at work, we hold the lock
        fd_ = open_file(path_, O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (!fd_) {
            return -errno;
        }
        if (old != nullptr) {
            if (fchown(fd_.get(), old->st_uid, old->st_gid) != 0 && errno != EPERM) {
                return -errno;  // EPERM: only root gives files away, so it becomes the setter's
            }
            if (fchmod(fd_.get(), old->st_mode & 0777) != 0) {
                return -errno;
            }
        }
        return write_all(fd_.get(), text);
    }

    int replace_target() {
        if (rename(path_.c_str(), target_.c_str()) != 0) {
            return -errno;
        }
        fd_.reset();
        return 0;
    }

  private:
    const std::string& target_;
    std::string path_;
    unique_fd fd_;
};

// The file itself when `path` is a link to it, so that the link stays.
std::string resolve(const std::string& path) {
    const std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), &free);
    return real ? real.get() : path;
}

int lock(const std::string& path, unique_fd* out) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (!folder.empty()) {
        std::filesystem::create_directories(folder, error);
        if (error) {
            return -error.value();
        }
    }
    // Reading is enough for a lock, so the file need not be writable for every user that sets.
    *out = open_file(path + ".lock", O_RDONLY | O_CREAT | O_NOFOLLOW, 0644);
    if (!*out) {
        return -errno;
    }
    int result;
    do {
        result = flock(out->get(), LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : -errno;
}

// `text` with the last line of `key`, which is the one that counts, replaced, or with a line more.
std::string with_property(std::string_view text, std::string_view key, std::string_view value) {
    std::string_view replaced;
    for_each_line(text, [&](std::string_view line, std::string_view whole) {
        entry found;
        if (parse_line(line, &found) && found.key == key) {
            replaced = whole;
        }
    });
    const size_t before = replaced.data() == nullptr
                              ? text.size()
                              : static_cast<size_t>(replaced.data() - text.data());
    std::string result(text.substr(0, before));
    if (!result.empty() && result.back() != '\n') {
        result += '\n';
    }
    result.append(key).append(1, '=').append(value).append(1, '\n');
    result.append(text.substr(before + replaced.size()));
    return result;
}

}  // namespace

int read_file(const std::string& path, file_content* out) {
    // Non-blocking: a FIFO in the file's place must not hold the caller.
    unique_fd fd = open_file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!fd) {
        return -errno;
    }
    struct stat status;
    if (fstat(fd.get(), &status) != 0) {
        return -errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return -EINVAL;
    }
    std::string text;
    char block[4096];
    for (;;) {
        const ssize_t got = read(fd.get(), block, sizeof(block));
        if (got == 0) {
            break;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -errno;
        }
        if (text.size() + static_cast<size_t>(got) > kMaxFileBytes) {
            return -EFBIG;
        }
        text.append(block, static_cast<size_t>(got));
    }
    *out = {std::move(text), status};
    return 0;
}

int set_in_file(const std::string& path, std::string_view key, std::string_view value) {
    const std::string target = resolve(path);
    unique_fd locked;
    int result = lock(target, &locked);
    if (result != 0) {
        return result;
    }
    file_content old;
    const int read = read_file(target, &old);
    if (read != 0 && read != -ENOENT) {
        return read;
    }
    const std::string text = with_property(old.text, key, value);
    if (text.size() > kMaxFileBytes) {
        return -EFBIG;
    }
    new_file replacement(target);
    result = replacement.create(text, read == 0 ? &old.status : nullptr);
    return result != 0 ? result : replacement.replace_target();
}

}  // namespace properties
