#include "peer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <utility>

#include "guarded.h"
#include "log.h"

namespace corvex_binder {

namespace {

constexpr int kSilentPatienceMs = 100;

// Processes that have gone are forgotten once there are so many.
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

std::array<std::atomic<uint64_t>, static_cast<size_t>(resource::kCount)> taken_by_all{};

// Adds, unless that would be too much.
bool add(std::atomic<uint64_t>& taken, uint64_t amount, uint64_t most) {
    uint64_t now = taken.load(std::memory_order_relaxed);
    do {
        if (amount > most || now > most - amount) {
            return false;
        }
    } while (!taken.compare_exchange_weak(now, now + amount, std::memory_order_relaxed));
    return true;
}

struct peer_records {
    guard_mutex mutex;
    std::map<std::pair<pid_t, uid_t>, std::shared_ptr<peer>> all BINDER_GUARDED_BY(mutex);
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
    complain(lines, complaint::bad_setting,
             "%s is '%s', so %ld is used: give a whole number from 0 to %ld", variable, text,
             preset, most);
    return static_cast<int>(preset);
}

}  // namespace

std::shared_ptr<peer> peer::of(const peer_identity& identity) {
    peer_records& known = records();
    const guard_lock lock(known.mutex);
    std::shared_ptr<peer>& found = known.all[{identity.pid, identity.uid}];
    if (found == nullptr) {
        found = std::make_shared<peer>(identity);
    }
    std::shared_ptr<peer> answer = found;
    for (auto one = known.all.begin(); one != known.all.end() && known.all.size() > kKeptRecords;) {
        one = one->second.use_count() == 1 ? known.all.erase(one) : std::next(one);
    }
    return answer;
}

bool peer::take(resource what, uint64_t amount) {
    const auto index = static_cast<size_t>(what);
    if (!add(taken_[index], amount, kLimits[index].one_process)) {
        return false;
    }
    if (!add(taken_by_all[index], amount, kLimits[index].all)) {
        taken_[index].fetch_sub(amount, std::memory_order_relaxed);
        return false;
    }
    return true;
}

void peer::give_back(resource what, uint64_t amount) {
    const auto index = static_cast<size_t>(what);
    taken_[index].fetch_sub(amount, std::memory_order_relaxed);
    taken_by_all[index].fetch_sub(amount, std::memory_order_relaxed);
}

int call_timeout_ms() {
    static complaints lines{};
    return read_setting("CORVEX_BINDER_CALL_TIMEOUT_MS", 3000, 3600000, lines);
}

int service_wait_ms() {
    static complaints lines{};
    return read_setting("CORVEX_BINDER_WAIT_MS", 500, 60000, lines);
}

int patience_ms(const peer& other) {
    const int set = call_timeout_ms();
    return set > 0 && other.is_silent ? std::min(set, kSilentPatienceMs) : set;
}

}  // namespace corvex_binder
