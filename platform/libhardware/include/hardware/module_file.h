/*
 * Module files by path, for tools that name a file or want to say which one a look-up takes.
 * Any thread may call these. A path stays the caller's.
 */
#ifndef CORVEX_HARDWARE_MODULE_FILE_H
#define CORVEX_HARDWARE_MODULE_FILE_H

#include <stddef.h>

#include <hardware/hardware.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

/*
 * Loads the module in the file `path` (relative to the working folder unless absolute; never
 * searched for) and checks that its descriptor has the class `id`.
 * 0; -ENOENT when there is no such file; -EINVAL for a bad argument or a file that is not such a
 * module. *module is null unless 0 is returned.
 */
int hw_load_module_file(const char* path, const char* id, const struct hw_module_t** module);

/*
 * Stores in `path` the file that hw_get_module_by_class(class_id, inst) would load, without loading
 * it. 0; -ENOENT when there is none; -EINVAL for a bad argument; -ENAMETOOLONG when `path_size`
 * bytes do not hold it. `path` is "" unless 0 is returned.
 */
int hw_find_module_file(const char* class_id, const char* inst, char* path, size_t path_size);

/*
 * Why this thread's last call of a loader function failed, in one line of text for people; "" when
 * it succeeded. Valid until this thread's next such call.
 */
const char* hw_module_error(void);

#pragma GCC visibility pop
__END_DECLS

#endif
