// The library's log lines. On the loop's thread a line is handed to the executor, because whoever
// takes log lines may block.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include <android/log.h>

#define BINDER_LOG(priority, ...) corvex_binder::log_line(ANDROID_LOG_##priority, __VA_ARGS__)

namespace corvex_binder {

void log_line(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// What another process can cause a line about.
enum class complaint : uint8_t {
    wrong_interface,
    bad_heap,
    bad_parcel,
    parcel_refused,
    channel_refused,
    connection_ended,
    connection_refused,
    calls_refused,
    no_answer,
    bad_setting,
    kCount,
};

// How often each has happened with one process.
using complaints = std::array<std::atomic<uint64_t>, static_cast<size_t>(complaint::kCount)>;

// Logs the first of a kind, then one whenever their number is a power of ten, so that nobody fills
// the log.
void complain(complaints& about, complaint kind, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
// The same about the process whose call this thread serves; without a limit where it serves none.
void complain(complaint kind, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Says whose call this thread serves; answers what was said before.
complaints* exchange_served(complaints* about);

}  // namespace corvex_binder
