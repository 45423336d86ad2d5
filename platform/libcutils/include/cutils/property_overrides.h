/*
 * Properties of this process only, and the place of the property file: for tests and for tools.
 */
#ifndef CORVEX_CUTILS_PROPERTY_OVERRIDES_H
#define CORVEX_CUTILS_PROPERTY_OVERRIDES_H

#include <sys/cdefs.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

/*
 * Makes look-ups of `key` in this process answer `value` whatever the file says; null ends that. An
 * empty value makes the key unset. 0; -EINVAL for a key or value that property_set refuses;
 * -ENOMEM.
 */
int property_override(const char* key, const char* value);

void property_clear_overrides(void);

/*
 * The file that look-ups read now: $CORVEX_PROPERTY_FILE, else
 * $XDG_CONFIG_HOME/corvex/properties, else $HOME/.config/corvex/properties. "" when none of these
 * variables is set (or the path is longer than the system allows): look-ups then give defaults and
 * property_set fails. The text is this thread's, valid until its next call.
 */
const char* property_file_path(void);

#pragma GCC visibility pop
__END_DECLS

#endif
