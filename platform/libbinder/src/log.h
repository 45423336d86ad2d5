// The library's log lines: each failure once, with what to do about it.
#pragma once

#include <android/log.h>

#define BINDER_LOG(priority, ...) \
    __android_log_print(ANDROID_LOG_##priority, "corvex_binder", __VA_ARGS__)
