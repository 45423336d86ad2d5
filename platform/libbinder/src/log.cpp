#include "log.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "executor.h"
#include "io_loop.h"

namespace corvex_binder {

namespace {

constexpr char kTag[] = "corvex_binder";
constexpr size_t kMaxLine = 512;

// One queue for all lines: if taking them blocks, it blocks one thread.
const char line_queue = 0;

thread_local complaints* served = nullptr;

void write_line(int priority, const char* text) {
    if (!io_loop::is_its_thread()) {
        __android_log_write(priority, kTag, text);
        return;
    }
    executor::get().post(&line_queue, nullptr, make_job([priority, line = std::string(text)] {
        __android_log_write(priority, kTag, line.c_str());
    }));
}

bool is_power_of_ten(uint64_t number) {
    while (number >= 10 && number % 10 == 0) {
        number /= 10;
    }
    return number == 1;
}

__attribute__((format(printf, 3, 0))) void complain_about(complaints* about, complaint kind,
                                                          const char* format, va_list arguments) {
    const uint64_t count = about != nullptr ? ++(*about)[static_cast<size_t>(kind)] : 1;
    if (!is_power_of_ten(count)) {
        return;
    }
    char text[kMaxLine];
    const int length = vsnprintf(text, sizeof text, format, arguments);
    if (count > 1 && length >= 0 && static_cast<size_t>(length) < sizeof text) {
        snprintf(text + length, sizeof text - static_cast<size_t>(length),
                 " (%" PRIu64 " times so far)", count);
    }
    write_line(ANDROID_LOG_ERROR, text);
}

}  // namespace

void log_line(int priority, const char* format, ...) {
    char text[kMaxLine];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    write_line(priority, text);
}

void complain(complaint kind, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    complain_about(served, kind, format, arguments);
    va_end(arguments);
}

void complain(complaints& about, complaint kind, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    complain_about(&about, kind, format, arguments);
    va_end(arguments);
}

complaints* exchange_served(complaints* about) {
    return std::exchange(served, about);
}

}  // namespace corvex_binder
