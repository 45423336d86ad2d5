// Log lines of the module, and the entry trace.
//
// A source file names its tag once, as `constexpr const char* log_tag = "..."` at file scope, and
// then logs with these macros; the format is checked against its arguments. Any thread may log.
#pragma once

#include <android/log.h>

#define HAL_LOGV(...) __android_log_print(ANDROID_LOG_VERBOSE, log_tag, __VA_ARGS__)
#define HAL_LOGD(...) __android_log_print(ANDROID_LOG_DEBUG, log_tag, __VA_ARGS__)
#define HAL_LOGI(...) __android_log_print(ANDROID_LOG_INFO, log_tag, __VA_ARGS__)
#define HAL_LOGW(...) __android_log_print(ANDROID_LOG_WARN, log_tag, __VA_ARGS__)
#define HAL_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, log_tag, __VA_ARGS__)

// A pointer that may be null, as text for "%s".
inline const char* log_text(const char* text) {
    return text != nullptr ? text : "NULL";
}
