#include "peer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <signal.h>
#include <utility>
#include <vector>

namespace android::corvex_binder {

namespace {

constexpr int kSilentPatienceMs = 100;

// Of processes without a connection: what is beyond is forgotten although they are still there.
constexpr size_t kKeptRecords = 64;

struct limit {
    uint64_t one_process;
    uint64_t all;
};

// By resource. Together they keep this process below the usual 1024 descriptors.
constexpr limit kLimits[] = {
    {16, 256},
    {64, 384},
    {128, 256},
    {uint64_t{16} << 20, uint64_t{64} << 20},
};
static_assert(std::size(kLimits) == static_cast<size_t>(resource::kCount));

// Under this lock, every record's taken_ as well.
struct peer_records {
    Mutex mutex;
    std::map<std::pair<pid_t, uid_t>, std::shared_ptr<peer>> all GUARDED_BY(mutex);
    uint64_t taken[std::size(kLimits)] GUARDED_BY(mutex) = {};
};

peer_records& records() {
    static auto* known = new peer_records;
    return *known;
}

// A number of the environment, or the preset.
int read_setting(const char* variable, long preset, long most, complaints& lines) {
    const char* text = getenv(variable);
    if (text == nullptr || *text == '\0') {
        return static_cast<int>(preset);
    }
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text, &end, 10);
    if (errno == 0 && *end == '\0' && value >= 0 && value <= most) {
        return static_cast<int>(value);
    }
    complain(&lines, "%s is '%s', so %ld is used: give a whole number from 0 to %ld", variable,
             text, preset, most);
    return static_cast<int>(preset);
}

}  // namespace

std::shared_ptr<peer> peer::of(const ucred& identity) {
    peer_records& known = records();
    const Mutex::Autolock lock(known.mutex);
    std::shared_ptr<peer>& found = known.all[{identity.pid, identity.uid}];
    if (found == nullptr) {
        found = std::make_shared<peer>(identity);
    }
    return found;
}

void peer::forget_gone() {
    std::vector<std::shared_ptr<peer>> forgotten;  // go after the lock
    peer_records& known = records();
    const Mutex::Autolock lock(known.mutex);
    for (auto one = known.all.begin(); one != known.all.end();) {
        const pid_t pid = one->first.first;
        const auto is_gone = [pid] { return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH; };
        if (one->second.use_count() == 1 && (known.all.size() > kKeptRecords || is_gone())) {
            forgotten.push_back(std::move(one->second));
            one = known.all.erase(one);
        } else {
            ++one;
        }
    }
}

share peer::take(resource what, uint64_t amount) {
    if (amount == 0) {
        return {share(), this};  // owns nothing, and needs no heap
    }
    const auto index = static_cast<size_t>(what);
    const limit& most = kLimits[index];
    peer_records& known = records();
    const Mutex::Autolock lock(known.mutex);
    if (amount > most.one_process - taken_[index] || amount > most.all - known.taken[index]) {
        return nullptr;
    }
    taken_[index] += amount;
    known.taken[index] += amount;
    return {static_cast<void*>(this), [self = shared_from_this(), index, amount](void*) {
                peer_records& given = records();
                const Mutex::Autolock giving(given.mutex);
                self->taken_[index] -= amount;
                given.taken[index] -= amount;
            }};
}

int call_timeout_ms() {
    static auto* lines = new complaints;
    return read_setting("CORVEX_BINDER_CALL_TIMEOUT_MS", 3000, 3600000, *lines);
}

int service_wait_ms() {
    static auto* lines = new complaints;
    return read_setting("CORVEX_BINDER_WAIT_MS", 500, 60000, *lines);
}

int patience_ms(const peer& other) {
    const int set = call_timeout_ms();
    return set > 0 && other.is_silent ? std::min(set, kSilentPatienceMs) : set;
}

}  // namespace android::corvex_binder
