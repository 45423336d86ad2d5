#include "diag/lock.h"

#include <android/log.h>

// The analysis does not see that the mutex is its turn and the C library's mutex.

HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
hal_lock::hal_lock(hal_mutex& mutex, const char* tag, const char* operation)
    : mutex_(mutex), tag_(tag), operation_(operation) {
    take_lock(mutex.turn);
    if (pthread_mutex_lock(&mutex.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag, "%s: mutex lock fail", operation);
    }
}

HAL_THREAD_ANNOTATION(no_thread_safety_analysis)
hal_lock::~hal_lock() {
    if (pthread_mutex_unlock(&mutex_.native) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, tag_, "%s: mutex unlock fail", operation_);
    }
    give_back(mutex_.turn);
}
