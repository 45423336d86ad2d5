/*
 * Bounds-checked memory and string functions.
 *
 * Each takes the size of its destination in bytes and returns 0, EINVAL for a null pointer (also
 * for a source that overlaps a destination it must not, and for a destination string without its
 * zero), or ERANGE when the result does not fit or a size is above RSIZE_MAX, as a negative number
 * turned into a size is. Nothing is ever written past the destination. A failed memory function
 * writes nothing. All but sprintf_s and snprintf_s, which follow the locale, may be called
 * anywhere.
 */
#ifndef CORVEX_ANNEXK_ANNEXK_H
#define CORVEX_ANNEXK_ANNEXK_H

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

#ifndef RSIZE_MAX
#define RSIZE_MAX (SIZE_MAX >> 1)
#endif

/* Fills `count` bytes; not left out by the compiler when nothing reads them afterwards. */
int memset_s(void* dest, size_t dest_size, int value, size_t count);

/* The regions must not overlap. */
int memcpy_s(void* dest, size_t dest_size, const void* src, size_t count);

/* The regions may overlap. */
int memmove_s(void* dest, size_t dest_size, const void* src, size_t count);

/*
 * Appends `src`; on failure `dest` stays as it was. Of `src` no more is read than would fit, so it
 * may lack its zero when it is too long anyway.
 */
int strcat_s(char* dest, size_t dest_size, const char* src);

/*
 * Formats into `dest`, whose arguments must not lie in it. A result that does not fit is cut and
 * terminated, with ERANGE. A text that cannot be converted gives "" and EINVAL.
 */
int sprintf_s(char* dest, size_t dest_size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int snprintf_s(char* dest, size_t dest_size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

#pragma GCC visibility pop
__END_DECLS

#endif
