#include <errno.h>
#include <string.h>

#include <annexk/annexk.h>

int strcat_s(char* dest, size_t dest_size, const char* src) {
    if (dest == nullptr || src == nullptr) {
        return EINVAL;
    }
    if (dest_size == 0 || dest_size > RSIZE_MAX) {
        return ERANGE;
    }
    const size_t used = strnlen(dest, dest_size);
    if (used == dest_size) {
        return EINVAL;  // no zero: there is no end to append to
    }
    const size_t room = dest_size - used;
    const size_t length = strnlen(src, room);
    if (length == room) {
        return ERANGE;
    }
    // A source in the destination would lose its zero, or change under the copy.
    const uintptr_t to = reinterpret_cast<uintptr_t>(dest + used);
    const uintptr_t from = reinterpret_cast<uintptr_t>(src);
    if ((to > from ? to - from : from - to) <= length) {
        return EINVAL;
    }
    memcpy(dest + used, src, length + 1);
    return 0;
}
