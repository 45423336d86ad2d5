#include <cstdarg>
#include <errno.h>
#include <stdio.h>

#include <annexk/annexk.h>

namespace {

__attribute__((format(printf, 3, 0))) int format_checked(char* dest, size_t dest_size,
                                                         const char* fmt, va_list arguments) {
    if (dest == nullptr || fmt == nullptr) {
        return EINVAL;
    }
    if (dest_size == 0 || dest_size > RSIZE_MAX) {
        return ERANGE;
    }
    const int length = vsnprintf(dest, dest_size, fmt, arguments);
    if (length < 0) {
        dest[0] = '\0';
        return EINVAL;
    }
    return static_cast<size_t>(length) < dest_size ? 0 : ERANGE;
}

}  // namespace

int sprintf_s(char* dest, size_t dest_size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int result = format_checked(dest, dest_size, fmt, arguments);
    va_end(arguments);
    return result;
}

int snprintf_s(char* dest, size_t dest_size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int result = format_checked(dest, dest_size, fmt, arguments);
    va_end(arguments);
    return result;
}
