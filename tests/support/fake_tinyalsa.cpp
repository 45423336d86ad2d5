#include "tests/support/fake_tinyalsa.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include "tests/support/parameter_of.h"

namespace {

std::unique_ptr<fake_tinyalsa> current;
std::mutex records_mutex;

}  // namespace

fake_tinyalsa& tinyalsa() {
    return *current;
}

void reset_tinyalsa() {
    current = std::make_unique<fake_tinyalsa>();
}

// Closed handles are kept and marked, so that a use after close is seen and not just undefined.
struct pcm {
    std::atomic<bool> open{true};
    bool ready = true;
    std::string error;
    unsigned frame_bytes = 0;
};

namespace {

std::vector<std::unique_ptr<struct pcm>> all_handles;

bool check_open(const struct pcm* pcm) {
    if (pcm == nullptr || !pcm->open) {
        ++tinyalsa().uses_after_close;
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

struct pcm* pcm_open(unsigned card, unsigned device, unsigned flags,
                     parameter_of<&pcm_open, 3> config) {
    fake_tinyalsa& fake = tinyalsa();
    if (fake.in_open) {
        fake.in_open();
    }
    const std::lock_guard<std::mutex> lock(records_mutex);
    fake.opens.push_back({card, device, flags, *config});
    if (fake.no_handle) {
        return nullptr;
    }
    all_handles.push_back(std::make_unique<struct pcm>());
    struct pcm* const pcm = all_handles.back().get();
    pcm->ready = fake.not_ready.empty();
    pcm->error = fake.not_ready;
    pcm->frame_bytes = config->channels * 2;
    ++fake.open_handles;
    return pcm;
}

int pcm_close(struct pcm* pcm) {
    if (!check_open(pcm)) {
        return -1;
    }
    if (tinyalsa().in_close) {
        tinyalsa().in_close();
    }
    pcm->open = false;
    --tinyalsa().open_handles;
    return 0;
}

int pcm_is_ready(parameter_of<&pcm_is_ready, 0> pcm) {
    return check_open(pcm) && pcm->ready ? 1 : 0;
}

const char* pcm_get_error(parameter_of<&pcm_get_error, 0> pcm) {
    check_open(pcm);
    return pcm->error.c_str();
}

int pcm_write(struct pcm* pcm, const void* data, unsigned bytes) {
    check_open(pcm);
    fake_tinyalsa& fake = tinyalsa();
    if (fake.in_write) {
        fake.in_write();
    }
    const std::lock_guard<std::mutex> lock(records_mutex);
    const auto* const first = static_cast<const unsigned char*>(data);
    fake.played.insert(fake.played.end(), first, first + bytes);
    ++fake.writes;
    return fake.write_result;
}

int pcm_read(struct pcm* pcm, void* data, unsigned bytes) {
    check_open(pcm);
    fake_tinyalsa& fake = tinyalsa();
    if (fake.in_read) {
        fake.in_read();
    }
    const std::lock_guard<std::mutex> lock(records_mutex);
    fake.reads.push_back(bytes);
    const int number = static_cast<int>(fake.reads.size());
    if (fake.failing_from != 0 && number >= fake.failing_from &&
        (fake.failing_until == 0 || number < fake.failing_until)) {
        pcm->error = "overrun";
        return -EIO;
    }
    const size_t count = std::min<size_t>(bytes, fake.sound.size() - fake.sound_taken);
    auto* const first = static_cast<char*>(data);
    std::copy_n(fake.sound.data() + fake.sound_taken, count, first);
    std::fill(first + count, first + bytes, 0);
    fake.sound_taken += count;
    return 0;
}

unsigned pcm_frames_to_bytes(parameter_of<&pcm_frames_to_bytes, 0> pcm, unsigned frames) {
    check_open(pcm);
    return tinyalsa().read_nothing ? 0 : frames * pcm->frame_bytes;
}

int pcm_get_htimestamp(struct pcm* pcm, unsigned* avail, struct timespec* timestamp) {
    check_open(pcm);
    fake_tinyalsa& fake = tinyalsa();
    if (fake.in_htimestamp) {
        fake.in_htimestamp();
    }
    *avail = fake.avail;
    *timestamp = {12345, 6789};
    check_open(pcm);
    return fake.htimestamp_result;
}

}  // extern "C"
