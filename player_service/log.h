// The service's log lines, all with one tag.
#pragma once

#include <android/log.h>

#define LOGD(...) __android_log_print(ANDROID_LOG_DEBUG, "zuavplayerd", __VA_ARGS__)
#define LOGI(...) __android_log_print(ANDROID_LOG_INFO, "zuavplayerd", __VA_ARGS__)
#define LOGW(...) __android_log_print(ANDROID_LOG_WARN, "zuavplayerd", __VA_ARGS__)
#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "zuavplayerd", __VA_ARGS__)
