// Loads one module file and checks what is in it.
#include <dlfcn.h>
#include <errno.h>
#include <memory>
#include <mutex>
#include <new>
#include <string.h>
#include <string>
#include <unistd.h>

#include <hardware/module_file.h>

#include "module_error.h"

namespace module_loader {
namespace {

struct library_closer {
    void operator()(void* handle) const { dlclose(handle); }
};
using library = std::unique_ptr<void, library_closer>;

const char* linker_error() {
    const char* text = dlerror();
    return text != nullptr ? text : "unknown reason";
}

// The class in an id that names an instance too: "audio" in "audio.primary".
std::string class_of(const std::string& id) {
    return id.substr(0, id.find('.'));
}

int load(const char* path, const char* id, const hw_module_t** module) {
    if (access(path, F_OK) != 0) {
        return fail(-ENOENT, "no module file %s: %s", path, strerror(errno));
    }
    // Without a slash the dynamic linker would look the name up in its own folders.
    const std::string file = strchr(path, '/') != nullptr ? path : std::string("./") + path;
    library handle(dlopen(file.c_str(), RTLD_NOW));
    if (!handle) {
        return fail(-EINVAL, "cannot load module %s: %s", path, linker_error());
    }
    auto* const descriptor =
        static_cast<hw_module_t*>(dlsym(handle.get(), HAL_MODULE_INFO_SYM_AS_STR));
    if (descriptor == nullptr) {
        return fail(-EINVAL, "%s is not a hardware module: it exports no %s (%s)", path,
                    HAL_MODULE_INFO_SYM_AS_STR, linker_error());
    }
    if (descriptor->tag != HARDWARE_MODULE_TAG || descriptor->id == nullptr) {
        return fail(-EINVAL, "%s is not a hardware module: its %s has tag %#x, not %#x, or no id",
                    path, HAL_MODULE_INFO_SYM_AS_STR, descriptor->tag,
                    static_cast<unsigned>(HARDWARE_MODULE_TAG));
    }
    if (strcmp(descriptor->id, id) != 0 && class_of(id) != descriptor->id) {
        return fail(-EINVAL, "module %s has id '%s', not '%s'", path, descriptor->id, id);
    }
    // A module that is loaded again has the same descriptor and the same handle. It is not written
    // again: those who have it already may be reading it.
    static std::mutex dso_lock;
    const std::lock_guard<std::mutex> guard(dso_lock);
    if (descriptor->dso != handle.get()) {
        descriptor->dso = handle.get();
    }
    static_cast<void>(handle.release());  // the reference is the caller's now
    *module = descriptor;
    return 0;
}

}  // namespace
}  // namespace module_loader

int hw_load_module_file(const char* path, const char* id, const struct hw_module_t** module) {
    module_loader::clear_error();
    if (module == nullptr) {
        return module_loader::fail(-EINVAL, "hw_load_module_file: no place for the module");
    }
    *module = nullptr;
    if (path == nullptr || *path == '\0' || id == nullptr) {
        return module_loader::fail(-EINVAL, "hw_load_module_file: no %s", id ? "path" : "id");
    }
    try {
        return module_loader::load(path, id, module);
    } catch (const std::bad_alloc&) {
        return module_loader::fail(-ENOMEM, "no memory to load module %s", path);
    }
}
