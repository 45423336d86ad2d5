#include "diag/capture_file.h"

#include <android/log.h>

#include "diag/property_switch.h"

FILE* open_capture_file(bool enabled, const capture_target& target, const capture_log& log) {
    if (!enabled) {
        __android_log_print(ANDROID_LOG_DEBUG, log.tag, "%s: disable save %s", log.operation,
                            target.path);
        return nullptr;
    }
    FILE* const file = fopen(target.path, "wb");
    if (file != nullptr) {
        __android_log_print(ANDROID_LOG_DEBUG, log.tag, "%s: enable save %s", log.operation,
                            target.path);
    } else {
        __android_log_print(ANDROID_LOG_DEBUG, log.tag, "%s: %s can not be created!", log.operation,
                            target.path);
    }
    return file;
}

void update_capture_file(FILE** file, const capture_target& target,
                         char (&value)[PROPERTY_VALUE_MAX], const capture_log& log) {
    const bool enabled = read_property_switch(target.property, value);
    __android_log_print(ANDROID_LOG_DEBUG, log.tag, "%s: %s is %s", log.operation, target.property,
                        value);
    if (enabled && *file != nullptr) {
        return;
    }
    FILE* const opened = open_capture_file(enabled, target, log);
    close_capture_file(file);
    *file = opened;
}

void append_to_capture_file(FILE* file, const void* data, size_t bytes, const capture_log& log) {
    if (file == nullptr) {
        return;
    }
    const size_t written = fwrite(data, 1, bytes, file);
    if (written < bytes) {
        __android_log_print(ANDROID_LOG_ERROR, log.tag,
                            "%s: not save all data! expect=%d actual=%d", log.operation,
                            static_cast<int>(bytes), static_cast<int>(written));
    }
}

void close_capture_file(FILE** file) {
    if (*file != nullptr) {
        fclose(*file);
        *file = nullptr;
    }
}
