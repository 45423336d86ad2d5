#include "diag/lock.h"

#include <android/log.h>

hal_lock::hal_lock(hal_mutex& mutex, const char* tag, const char* operation)
    : mutex_(mutex), tag_(tag), operation_(operation) {
    if (pthread_mutex_lock(&mutex.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex lock fail", operation);
    }
}

hal_lock::~hal_lock() {
    if (pthread_mutex_unlock(&mutex_.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag_, "%s: mutex unlock fail", operation_);
    }
}
