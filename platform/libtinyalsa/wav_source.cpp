#include "wav_source.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <sndfile.h>
#include <unistd.h>
#include <utility>

namespace tinyalsa {

namespace {

constexpr uint64_t kBlockFrames = 256;

// How far this process has read a file, and what the file was like then.
struct read_position {
    struct stat status;
    uint64_t frames;
};

// Never destroyed: streams may close while statics are torn down.
struct read_positions {
    std::mutex lock;
    std::map<std::pair<dev_t, ino_t>, read_position> by_identity;
};

read_positions& all_positions() {
    static read_positions& positions = *new read_positions;
    return positions;
}

bool is_same(const struct stat& a, const struct stat& b) {
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Little-endian, as all formats of a WAV file are. Returns where the next one goes.
char* store_sample(char* bytes, double sample, unsigned sample_bytes) {
    const double full_scale = std::ldexp(1.0, static_cast<int>(sample_bytes * 8 - 1));
    const double scaled = std::isnan(sample) ? 0 : std::nearbyint(sample * full_scale);
    const auto value = static_cast<int64_t>(std::clamp(scaled, -full_scale, full_scale - 1));
    for (unsigned i = 0; i < sample_bytes; ++i) {
        *bytes++ = static_cast<char>(static_cast<uint64_t>(value) >> (8 * i));
    }
    return bytes;
}

std::string describe(unsigned channels, unsigned rate_hz) {
    return std::to_string(channels) + (channels == 1 ? " channel" : " channels") + " at " +
           std::to_string(rate_hz) + " Hz";
}

}  // namespace

void wav_source::closer::operator()(sf_private_tag* file) const {
    sf_close(file);
}

int wav_source::open(const std::string& path, const wav_layout& layout,
                     std::unique_ptr<wav_source>& source, std::string& reason) {
    source.reset();
    // O_NONBLOCK is for a FIFO, which would wait for a writer.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) {
        reason = "the file cannot be read";
        return -errno;
    }
    std::unique_ptr<wav_source> opened(new wav_source(fd, layout));
    opened->block_.resize(kBlockFrames * layout.channels);
    const int error = opened->claim(reason);
    if (error == 0) {
        source = std::move(opened);
    }
    return error;
}

wav_source::~wav_source() {
    if (file_ != nullptr) {
        remember();
    }
    file_.reset();
    close(fd_);
}

int wav_source::claim(std::string& reason) {
    if (fstat(fd_, &status_) != 0) {
        reason = "the file's size cannot be read";
        return -errno;
    }
    if (!S_ISREG(status_.st_mode)) {
        reason = "this is no regular file";
        return -EINVAL;
    }
    {
        read_positions& positions = all_positions();
        const std::lock_guard<std::mutex> guard(positions.lock);
        const auto found = positions.by_identity.find({status_.st_dev, status_.st_ino});
        if (found != positions.by_identity.end() && is_same(found->second.status, status_)) {
            position_frames_ = found->second.frames;
        }
    }
    return open_at_position(reason);
}

// Opens the file as it now is and goes to where reading stopped.
int wav_source::open_at_position(std::string& reason) {
    file_.reset();
    SF_INFO info = {};
    if (fstat(fd_, &status_) != 0 || lseek(fd_, 0, SEEK_SET) != 0) {
        reason = "the file cannot be read";
        return -errno;
    }
    file_.reset(sf_open_fd(fd_, SFM_READ, &info, SF_FALSE));
    if (file_ == nullptr) {
        reason = std::string("this is no sound that can be read (") + sf_strerror(nullptr) + ")";
        return -EINVAL;
    }
    if (static_cast<unsigned>(info.channels) != layout_.channels ||
        static_cast<unsigned>(info.samplerate) != layout_.rate_hz) {
        reason =
            "the file has " +
            describe(static_cast<unsigned>(info.channels), static_cast<unsigned>(info.samplerate)) +
            ", and nothing converts it here; give one that has " +
            describe(layout_.channels, layout_.rate_hz);
        file_.reset();
        return -EINVAL;
    }
    const auto frames_there = static_cast<uint64_t>(std::max<sf_count_t>(info.frames, 0));
    if (position_frames_ > frames_there) {
        position_frames_ = 0;
    }
    if (position_frames_ > 0 &&
        sf_seek(file_.get(), static_cast<sf_count_t>(position_frames_), SEEK_SET) < 0) {
        reason = "the file cannot be read from where it was left";
        file_.reset();
        return -EIO;
    }
    return 0;
}

bool wav_source::has_changed() const {
    struct stat now = {};
    return fstat(fd_, &now) == 0 && !is_same(now, status_);
}

// Frames out of the file as it was when it was opened last. As numbers of the widest type, because
// libsndfile scales floating-point samples to their peak when it is asked for others.
uint64_t wav_source::read_some(char* bytes, uint64_t frame_count) {
    uint64_t done = 0;
    while (file_ != nullptr && done < frame_count) {
        const sf_count_t got =
            sf_readf_double(file_.get(), block_.data(),
                            static_cast<sf_count_t>(std::min(frame_count - done, kBlockFrames)));
        if (got <= 0) {
            break;
        }
        const size_t samples = static_cast<size_t>(got) * layout_.channels;
        for (size_t i = 0; i < samples; ++i) {
            bytes = store_sample(bytes, block_[i], layout_.sample_bytes);
        }
        done += static_cast<uint64_t>(got);
    }
    position_frames_ += done;
    return done;
}

void wav_source::read(void* frames, uint64_t frame_count) {
    char* const bytes = static_cast<char*>(frames);
    uint64_t done = read_some(bytes, frame_count);
    if (done < frame_count && has_changed()) {
        std::string reason;
        const struct stat before = status_;
        if (open_at_position(reason) == 0) {
            done += read_some(bytes + done * layout_.frame_bytes(), frame_count - done);
        } else {
            // Its writer may just be starting it over: looked at again at the next read.
            status_ = before;
        }
    }
    std::memset(bytes + done * layout_.frame_bytes(), 0,
                static_cast<size_t>((frame_count - done) * layout_.frame_bytes()));
}

void wav_source::remember() const {
    read_positions& positions = all_positions();
    const std::lock_guard<std::mutex> guard(positions.lock);
    try {
        positions.by_identity[{status_.st_dev, status_.st_ino}] = {status_, position_frames_};
    } catch (const std::bad_alloc&) {
        // The next open starts at the beginning.
    }
}

}  // namespace tinyalsa
