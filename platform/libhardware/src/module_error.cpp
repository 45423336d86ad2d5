#include "module_error.h"

#include <cstdarg>
#include <limits.h>
#include <stdio.h>

#include <android/log.h>
#include <hardware/module_file.h>

namespace module_loader {
namespace {

// Room for a path, the dynamic linker's text with the path once more, and ours.
thread_local char last_error[2 * PATH_MAX + 512];

}  // namespace

void clear_error() {
    last_error[0] = '\0';
}

int fail(int result, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(last_error, sizeof(last_error), format, arguments);
    va_end(arguments);
    __android_log_write(ANDROID_LOG_ERROR, "HAL", last_error);
    return result;
}

}  // namespace module_loader

const char* hw_module_error(void) {
    return module_loader::last_error;
}
