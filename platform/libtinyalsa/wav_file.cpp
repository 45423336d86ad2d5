#include "wav_file.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace tinyalsa {

namespace {

struct started_file {
    wav_layout layout;
    uint32_t data_bytes;
    uint64_t size_bytes;
};

// The files of this process. Never destroyed: streams may close while statics are torn down.
struct started_files {
    std::mutex lock;
    std::map<std::pair<dev_t, ino_t>, started_file> by_identity;
};

started_files& all_started() {
    static started_files& files = *new started_files;
    return files;
}

}  // namespace

wav_file::wav_file(int fd, const wav_layout& layout) : fd_(fd), layout_(layout) {}

wav_file::~wav_file() {
    if (claimed_ && regular_) {
        remember();
    }
    close(fd_);  // Gives up the lock as well.
}

int wav_file::open(const std::string& path, const wav_layout& layout,
                   std::unique_ptr<wav_file>& file, std::string& reason) {
    file.reset();
    // Not truncated: the file may be one to continue, or another's. O_NONBLOCK is for a FIFO, which
    // would wait for a reader.
    const int fd =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
    if (fd < 0) {
        reason = "the file cannot be written";
        return -errno;
    }
    std::unique_ptr<wav_file> opened(new wav_file(fd, layout));
    const int error = opened->claim(reason);
    if (error == 0) {
        file = std::move(opened);
    }
    return error;
}

// Takes the file for this stream: finds out what it is, locks it, and continues it or starts it.
int wav_file::claim(std::string& reason) {
    struct stat status = {};
    if (fstat(fd_, &status) != 0) {
        reason = "the file's size cannot be read";
        return -errno;
    }
    regular_ = S_ISREG(status.st_mode);
    if (!regular_ && !S_ISCHR(status.st_mode)) {
        reason = "this is neither a file nor a device file";
        return -EINVAL;
    }
    if (regular_ && flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        // Where a file system knows no locks the file is used without.
        reason = "another stream is writing this file";
        return -EBUSY;
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
    if (regular_ && fstat(fd_, &status) == 0) {  // Again: it may have grown before the lock.
        started_files& started = all_started();
        const std::lock_guard<std::mutex> guard(started.lock);
        const auto found = started.by_identity.find({device_, inode_});
        if (found != started.by_identity.end() &&
            found->second.size_bytes == static_cast<uint64_t>(status.st_size)) {
            if (!(found->second.layout == layout_)) {
                reason =
                    "the file already holds sound of another rate, format or channel count "
                    "from this process; choose another file";
                return -EEXIST;
            }
            data_bytes_ = found->second.data_bytes;
            claimed_ = true;
            return 0;
        }
    }
    const int error = start_over();
    if (error < 0) {
        reason = "the file's header cannot be written";
        return error;
    }
    claimed_ = true;
    return 0;
}

int wav_file::start_over() {
    if (regular_ && ftruncate(fd_, 0) != 0) {
        return -errno;
    }
    return finish();
}

int wav_file::append(const void* frames, uint64_t frame_count) {
    if (frame_count > (max_wav_data_bytes(layout_) - data_bytes_) / layout_.frame_bytes()) {
        return -EFBIG;
    }
    const uint64_t start_bytes = make_wav_header(layout_, 0).size + uint64_t{data_bytes_};
    uint64_t written_bytes = 0;
    const int error =
        write_at(start_bytes, frames, frame_count * layout_.frame_bytes(), written_bytes);
    data_bytes_ += static_cast<uint32_t>(written_bytes - written_bytes % layout_.frame_bytes());
    const int finish_error = finish();
    return error < 0 ? error : finish_error;
}

int wav_file::write_at(uint64_t offset_bytes, const void* bytes, uint64_t count,
                       uint64_t& written_bytes) {
    written_bytes = 0;
    while (written_bytes < count) {
        const ssize_t moved = pwrite(fd_, static_cast<const char*>(bytes) + written_bytes,
                                     static_cast<size_t>(count - written_bytes),
                                     static_cast<off_t>(offset_bytes + written_bytes));
        if (moved > 0) {
            written_bytes += static_cast<uint64_t>(moved);
        } else if (moved == 0) {
            return -EIO;
        } else if (errno != EINTR) {
            return -errno;
        }
    }
    return 0;
}

// Makes header and end of the file agree with data_bytes_: cuts off what is left of a frame that
// was only half written, and pads an odd chunk. The header's place exists already on a full disk.
int wav_file::finish() {
    const wav_header header = make_wav_header(layout_, data_bytes_);
    int error = 0;
    if (regular_ && ftruncate(fd_, static_cast<off_t>(end_bytes())) != 0) {
        error = -errno;
    }
    uint64_t written_bytes = 0;
    const int header_error = write_at(0, header.bytes, header.size, written_bytes);
    return error < 0 ? error : header_error;
}

uint64_t wav_file::end_bytes() const {
    return make_wav_header(layout_, 0).size + uint64_t{data_bytes_} + data_bytes_ % 2;
}

void wav_file::remember() const {
    started_files& started = all_started();
    const std::lock_guard<std::mutex> guard(started.lock);
    try {
        started.by_identity[{device_, inode_}] = {layout_, data_bytes_, end_bytes()};
    } catch (const std::bad_alloc&) {
        // The next open starts the file over, as if another process had written it.
    }
}

}  // namespace tinyalsa
