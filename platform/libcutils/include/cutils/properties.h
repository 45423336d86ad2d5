/*
 * System properties: short texts under names, shared by every process that reads the same file.
 *
 * The file holds `key=value` lines; lines that begin with '#', blank lines and lines that are not
 * of that form are kept and ignored. It may be edited by hand or replaced at any time: a look-up
 * sees the file as it is then. Where it is, and overrides for one process, are in
 * cutils/property_overrides.h.
 *
 * Any thread may call these, not a signal handler. The environment variables that name the file are
 * read on every call, so a program must not change them while other threads look properties up.
 */
#ifndef CORVEX_CUTILS_PROPERTIES_H
#define CORVEX_CUTILS_PROPERTIES_H

#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

/* The longest key of old releases, with its zero. Keys may be longer: nothing here checks it. */
#define PROPERTY_KEY_MAX 32
/* The longest value, with its zero. */
#define PROPERTY_VALUE_MAX 92

/*
 * Stores the value of `key`, or `default_value` when the key is unset, empty or null, in `value`,
 * which has room for PROPERTY_VALUE_MAX bytes; a longer text is cut. A null default is "".
 * Returns the length stored, 0 to 91; 0 also when `value` is null.
 */
int property_get(const char* key, char* value, const char* default_value);

/*
 * The value read as a boolean (1, y, yes, on, true; 0, n, no, off, false) or as a whole number
 * (with 0x for hexadecimal, 0 for octal), or the default when it is unset, does not read as one, or
 * is out of the type's range.
 */
int8_t property_get_bool(const char* key, int8_t default_value);
int32_t property_get_int32(const char* key, int32_t default_value);
int64_t property_get_int64(const char* key, int64_t default_value);

/*
 * Stores `key` in the file, creating it and its folder where needed; every other line stays as it
 * is. A null value is "". Blocks while another process sets a property. Overrides are not changed.
 * 0; -EINVAL for a key with characters other than letters, digits and ._-@: or a value that has
 * more than 91 bytes or a line end; another negative errno when the file cannot be written (and is
 * then unchanged).
 */
int property_set(const char* key, const char* value);

/*
 * Calls `propfn` for each property, in the order of the keys, with the caller's `cookie`. The set
 * is that of the moment of the call: `propfn` may itself set properties. 0; -EINVAL without a
 * function.
 */
int property_list(void (*propfn)(const char* key, const char* value, void* cookie), void* cookie);

#pragma GCC visibility pop
__END_DECLS

#endif
