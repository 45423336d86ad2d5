// Finds the file of a module by its class, as hardware.h describes.
#include <cstdlib>
#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <new>
#include <string.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include <android/log.h>
#include <cutils/properties.h>
#include <hardware/hardware.h>
#include <hardware/module_file.h>

#include "module_error.h"

namespace module_loader {
namespace {

// After ro.hardware.<class>.<instance>, in this order.
constexpr const char* kVariantKeys[] = {"ro.hardware", "ro.product.board", "ro.board.platform",
                                        "ro.arch"};
constexpr const char* kBoard = "corvex";
constexpr const char* kDefault = "default";

// Whether `text` can be part of a file name, and not lead to another folder.
bool is_file_name_part(std::string_view text) {
    return !text.empty() && text.find('/') == text.npos;
}

void append_property(const std::string& key, std::vector<std::string>* variants) {
    char value[PROPERTY_VALUE_MAX];
    if (property_get(key.c_str(), value, nullptr) == 0) {
        return;
    }
    if (is_file_name_part(value)) {
        variants->emplace_back(value);
    } else {
        __android_log_print(ANDROID_LOG_WARN, "HAL", "property %s ignored: '%s' has a slash",
                            key.c_str(), value);
    }
}

std::vector<std::string> variants_of(const std::string& name) {
    std::vector<std::string> variants;
    append_property("ro.hardware." + name, &variants);
    for (const char* key : kVariantKeys) {
        append_property(key, &variants);
    }
    variants.emplace_back(kBoard);
    variants.emplace_back(kDefault);
    return variants;
}

// hw/ beside the file this code was loaded from; "" where the linker cannot tell.
std::string folder_beside_this_library() {
    static const char somewhere_in_this_library = 0;
    Dl_info info;
    if (dladdr(&somewhere_in_this_library, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    const std::string file = info.dli_fname;
    const size_t slash = file.rfind('/');
    return (slash == file.npos ? "" : file.substr(0, slash + 1)) + "hw";
}

std::vector<std::string> module_folders() {
    std::vector<std::string> folders;
    const char* path = std::getenv("CORVEX_MODULE_PATH");
    std::string_view rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const size_t colon = rest.find(':');
        if (colon != 0) {
            folders.emplace_back(rest.substr(0, colon));
        }
        rest.remove_prefix(colon == rest.npos ? rest.size() : colon + 1);
    }
    const std::string beside = folder_beside_this_library();
    if (!beside.empty()) {
        folders.push_back(beside);
    }
    return folders;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += all.empty() ? text : ", " + text;
    }
    return all;
}

int find(const char* class_id, const char* inst, std::string* path) {
    if (class_id == nullptr || !is_file_name_part(class_id) ||
        (inst != nullptr && !is_file_name_part(inst))) {
        return fail(-EINVAL, "a module class or instance is missing or no file name: '%s' '%s'",
                    class_id != nullptr ? class_id : "", inst != nullptr ? inst : "");
    }
    const std::string name =
        inst != nullptr ? std::string(class_id) + "." + inst : std::string(class_id);
    const std::vector<std::string> variants = variants_of(name);
    const std::vector<std::string> folders = module_folders();
    for (const std::string& variant : variants) {
        for (const std::string& folder : folders) {
            std::string file = folder;
            file.append("/").append(name).append(".").append(variant).append(".so");
            // A link that leads nowhere counts: it was put there to be the module, and loading it
            // says what is wrong.
            struct stat status;
            if (lstat(file.c_str(), &status) == 0) {
                *path = std::move(file);
                return 0;
            }
        }
    }
    return fail(-ENOENT,
                "no module %s.<variant>.so with variant %s in %s; "
                "CORVEX_MODULE_PATH names further folders",
                name.c_str(), joined(variants).c_str(), joined(folders).c_str());
}

int find_in(const char* class_id, const char* inst, char* path, size_t path_size) {
    std::string file;
    const int result = find(class_id, inst, &file);
    if (result != 0) {
        return result;
    }
    if (file.size() >= path_size) {
        return fail(-ENAMETOOLONG, "path of the module needs %zu bytes, not %zu: %s",
                    file.size() + 1, path_size, file.c_str());
    }
    memcpy(path, file.c_str(), file.size() + 1);
    return 0;
}

}  // namespace
}  // namespace module_loader

int hw_find_module_file(const char* class_id, const char* inst, char* path, size_t path_size) {
    module_loader::clear_error();
    if (path == nullptr || path_size == 0) {
        return module_loader::fail(-EINVAL, "hw_find_module_file: no room for the path");
    }
    path[0] = '\0';
    try {
        return module_loader::find_in(class_id, inst, path, path_size);
    } catch (const std::bad_alloc&) {
        return module_loader::fail(-ENOMEM, "no memory to find the module");
    }
}

int hw_get_module_by_class(const char* class_id, const char* inst,
                           const struct hw_module_t** module) {
    module_loader::clear_error();
    if (module == nullptr) {
        return module_loader::fail(-EINVAL, "hw_get_module: no place for the module");
    }
    *module = nullptr;
    char path[PATH_MAX];
    const int result = hw_find_module_file(class_id, inst, path, sizeof(path));
    return result != 0 ? result : hw_load_module_file(path, class_id, module);
}

int hw_get_module(const char* id, const struct hw_module_t** module) {
    return hw_get_module_by_class(id, nullptr, module);
}
