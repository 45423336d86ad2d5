#include "settings.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "log.h"

namespace corvex_binder {

namespace {

struct number_setting {
    const char* variable;
    long preset;
    long max;
    std::atomic<bool> complained;
};

number_setting service_wait = {"CORVEX_BINDER_WAIT_MS", 500, 60000, {false}};
number_setting call_timeout = {"CORVEX_BINDER_CALL_TIMEOUT_MS", 3000, 3600000, {false}};

int read_number(number_setting& setting) {
    const char* text = getenv(setting.variable);
    if (text == nullptr || *text == '\0') {
        return static_cast<int>(setting.preset);
    }
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text, &end, 10);
    if (errno == 0 && *end == '\0' && value >= 0 && value <= setting.max) {
        return static_cast<int>(value);
    }
    if (!setting.complained.exchange(true)) {
        BINDER_LOG(WARN, "%s is '%s', so %ld is used: give a whole number from 0 to %ld",
                   setting.variable, text, setting.preset, setting.max);
    }
    return static_cast<int>(setting.preset);
}

}  // namespace

int service_wait_ms() {
    return read_number(service_wait);
}

int call_timeout_ms() {
    return read_number(call_timeout);
}

}  // namespace corvex_binder
