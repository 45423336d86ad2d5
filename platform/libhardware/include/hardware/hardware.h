/*
 * The descriptor every hardware module exports, the head of every device it opens, and the
 * functions that find and load a module. Layouts and names are Android 9's.
 *
 * A module exports one writable structure under the name HMI whose first member is hw_module_t: the
 * loader stores the library's handle in it. A module stays loaded until its `dso` is given to
 * dlclose(); each successful look-up takes one reference. Any thread may call the loader.
 */
#ifndef CORVEX_HARDWARE_HARDWARE_H
#define CORVEX_HARDWARE_HARDWARE_H

#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

#define MAKE_TAG_CONSTANT(A, B, C, D) (((A) << 24) | ((B) << 16) | ((C) << 8) | (D))

#define HARDWARE_MODULE_TAG MAKE_TAG_CONSTANT('H', 'W', 'M', 'T')
#define HARDWARE_DEVICE_TAG MAKE_TAG_CONSTANT('H', 'W', 'D', 'T')

/* Versions of modules and of devices: major in the high byte, minor in the low one. */
#define HARDWARE_MAKE_API_VERSION(maj, min) ((((maj)&0xff) << 8) | ((min)&0xff))
#define HARDWARE_MAKE_API_VERSION_2(maj, min, hdr) \
    ((((maj)&0xff) << 24) | (((min)&0xff) << 16) | ((hdr)&0xffff))
#define HARDWARE_API_VERSION_2_MAJ_MIN_MASK 0xffff0000
#define HARDWARE_API_VERSION_2_HEADER_MASK 0x0000ffff
#define HARDWARE_MODULE_API_VERSION(maj, min) HARDWARE_MAKE_API_VERSION(maj, min)
#define HARDWARE_DEVICE_API_VERSION(maj, min) HARDWARE_MAKE_API_VERSION(maj, min)
#define HARDWARE_DEVICE_API_VERSION_2(maj, min, hdr) HARDWARE_MAKE_API_VERSION_2(maj, min, hdr)

/* Version of hw_module_t, hw_module_methods_t and hw_device_t themselves. */
#define HARDWARE_HAL_API_VERSION HARDWARE_MAKE_API_VERSION(1, 0)

struct hw_module_t;
struct hw_module_methods_t;
struct hw_device_t;

typedef struct hw_module_t {
    uint32_t tag; /* HARDWARE_MODULE_TAG */
    uint16_t module_api_version;
#define version_major module_api_version /* old names of the two version members */
    uint16_t hal_api_version;            /* HARDWARE_HAL_API_VERSION */
#define version_minor hal_api_version
    const char* id; /* class of the module, "audio" */
    const char* name;
    const char* author;
    struct hw_module_methods_t* methods;
    void* dso; /* set by the loader */
#ifdef __LP64__
    uint64_t reserved[32 - 7]; /* zero */
#else
    uint32_t reserved[32 - 7]; /* zero */
#endif
} hw_module_t;

typedef struct hw_module_methods_t {
    /* Opens the device `id` of the module; 0 or a negative errno. */
    int (*open)(const struct hw_module_t* module, const char* id, struct hw_device_t** device);
} hw_module_methods_t;

typedef struct hw_device_t {
    uint32_t tag; /* HARDWARE_DEVICE_TAG */
    uint32_t version;
    struct hw_module_t* module;
#ifdef __LP64__
    uint64_t reserved[12]; /* zero */
#else
    uint32_t reserved[12];     /* zero */
#endif
    /* Closes and frees the device; 0 or a negative errno. */
    int (*close)(struct hw_device_t* device);
} hw_device_t;

#ifdef __cplusplus
#define TO_HW_DEVICE_T_OPEN(x) reinterpret_cast<struct hw_device_t**>(x)
#else
#define TO_HW_DEVICE_T_OPEN(x) (struct hw_device_t**)(x)
#endif

/* Name of the exported descriptor: for a definition, and as a string for dlsym(). */
#define HAL_MODULE_INFO_SYM HMI
#define HAL_MODULE_INFO_SYM_AS_STR "HMI"

/*
 * Loads the module `id`: same as hw_get_module_by_class(id, NULL, module). The id may name an
 * instance ("audio.primary"); the module's own id is then that or the class alone ("audio").
 */
int hw_get_module(const char* id, const struct hw_module_t** module);

/*
 * Loads the module of class `class_id`, instance `inst` (null: the class has only one), from the
 * first file that exists of `<class>[.<inst>].<variant>.so`. Variants, in order: the properties
 * ro.hardware.<class>[.<inst>], ro.hardware, ro.product.board, ro.board.platform and ro.arch, the
 * board name "corvex", and "default". Folders, for each variant: those of the colon-separated
 * environment variable CORVEX_MODULE_PATH, then hw/ beside this library.
 *
 * 0; -ENOENT when no file exists; -EINVAL for a bad argument, or when the file found is not a
 * module of that class (no other file is tried then). *module is null unless 0 is returned.
 * Failures are logged under the tag "HAL"; hardware/module_file.h gives the text to the caller.
 */
int hw_get_module_by_class(const char* class_id, const char* inst,
                           const struct hw_module_t** module);

#pragma GCC visibility pop
__END_DECLS

#endif
