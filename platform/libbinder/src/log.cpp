#include "log.h"

#include <cstdarg>
#include <cstdio>

#include "executor.h"
#include "io_loop.h"

namespace android::corvex_binder {

namespace {

constexpr char kTag[] = "corvex_binder";
constexpr size_t kMaxLine = 512;

// One queue for all lines: if taking them blocks, it blocks one thread.
const char line_queue = 0;

void write_line(int priority, const std::string& text) {
    if (!io_loop::is_its_thread()) {
        __android_log_write(priority, kTag, text.c_str());
        return;
    }
    executor::get().post(&line_queue, nullptr,
                         [priority, text] { __android_log_write(priority, kTag, text.c_str()); });
}

bool is_power_of_ten(uint64_t number) {
    while (number >= 10 && number % 10 == 0) {
        number /= 10;
    }
    return number == 1;
}

__attribute__((format(printf, 1, 0))) std::string format_line(const char* format,
                                                              va_list arguments) {
    char text[kMaxLine];
    vsnprintf(text, sizeof text, format, arguments);
    return text;
}

}  // namespace

void log_line(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write_line(priority, format_line(format, arguments));
    va_end(arguments);
}

complaints::~complaints() {
    for (const auto& [format, line] : lines_) {
        if (!line.left_out.empty()) {
            write_line(ANDROID_LOG_ERROR,
                       line.left_out + " (" + std::to_string(line.times) + " times in all)");
        }
    }
}

bool complaints::add(const char* format, std::string* text) {
    const Mutex::Autolock lock(mutex_);
    line_count& line = lines_[format];
    const bool is_told = is_power_of_ten(++line.times);
    line.left_out = is_told ? "" : *text;
    if (line.times > 1) {
        *text += " (" + std::to_string(line.times) + " times so far)";
    }
    return is_told;
}

void complain(complaints* about, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = format_line(format, arguments);
    va_end(arguments);
    if (about == nullptr || about->add(format, &text)) {
        write_line(ANDROID_LOG_ERROR, text);
    }
}

}  // namespace android::corvex_binder
