#include <errno.h>
#include <string.h>

#include <annexk/annexk.h>

namespace {

int check_copy(const void* dest, size_t dest_size, const void* src, size_t count) {
    if (dest == nullptr || src == nullptr) {
        return EINVAL;
    }
    return dest_size > RSIZE_MAX || count > dest_size ? ERANGE : 0;
}

bool overlap(const void* a, const void* b, size_t count) {
    const uintptr_t first = reinterpret_cast<uintptr_t>(a);
    const uintptr_t second = reinterpret_cast<uintptr_t>(b);
    return (first > second ? first - second : second - first) < count;
}

}  // namespace

int memset_s(void* dest, size_t dest_size, int value, size_t count) {
    const int checked = check_copy(dest, dest_size, dest, count);
    if (checked != 0) {
        return checked;
    }
    memset(dest, value, count);
    // Someone else may look: keeps the fill even when this is inlined into code that ends here.
    __asm__ __volatile__("" : : "r"(dest) : "memory");
    return 0;
}

int memcpy_s(void* dest, size_t dest_size, const void* src, size_t count) {
    const int checked = check_copy(dest, dest_size, src, count);
    if (checked != 0) {
        return checked;
    }
    if (overlap(dest, src, count)) {
        return EINVAL;
    }
    memcpy(dest, src, count);
    return 0;
}

int memmove_s(void* dest, size_t dest_size, const void* src, size_t count) {
    const int checked = check_copy(dest, dest_size, src, count);
    if (checked != 0) {
        return checked;
    }
    memmove(dest, src, count);
    return 0;
}
