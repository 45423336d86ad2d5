#define LOG_TAG "libcutils"
#include <errno.h>
#include <inttypes.h>
#include <limits>
#include <new>
#include <string.h>
#include <string>

#include <android/log.h>
#include <cutils/properties.h>
#include <cutils/property_overrides.h>

#include "property_cache.h"
#include "property_file.h"
#include "property_path.h"
#include "property_syntax.h"

namespace {

template <typename Integer>
Integer get_integer(const char* key, Integer default_value) {
    char text[PROPERTY_VALUE_MAX];
    if (property_get(key, text, nullptr) == 0) {
        return default_value;
    }
    char* end = nullptr;
    errno = 0;
    const intmax_t value = strtoimax(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || value < std::numeric_limits<Integer>::min() ||
        value > std::numeric_limits<Integer>::max()) {
        return default_value;
    }
    return static_cast<Integer>(value);
}

int refuse(const char* key, const char* problem, int result) {
    __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "cannot set property '%s' in '%s': %s",
                        key != nullptr ? key : "", property_file_path(), problem);
    return result;
}

int check(const char* key, const char* value) {
    if (key == nullptr || !properties::is_valid_key(key)) {
        return refuse(key, "a key has letters, digits and ._-@: only", -EINVAL);
    }
    if (value != nullptr && !properties::is_valid_value(value)) {
        return refuse(key, "a value is one line of at most 91 bytes", -EINVAL);
    }
    return 0;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    if (value == nullptr) {
        return 0;
    }
    std::string found;
    if (key != nullptr) {
        // Callers may be built without exceptions: none leaves this library.
        try {
            found = properties::cache().find(key);
        } catch (const std::bad_alloc&) {
            found.clear();
        }
    }
    const char* text = found.c_str();
    if (found.empty()) {
        text = default_value != nullptr ? default_value : "";
    }
    // The default may lie in `value` itself.
    const size_t length = strnlen(text, properties::kMaxValueBytes);
    memmove(value, text, length);
    value[length] = '\0';
    return static_cast<int>(length);
}

int8_t property_get_bool(const char* key, int8_t default_value) {
    static constexpr struct {
        const char* text;
        int8_t value;
    } kWords[] = {
        {"1", 1}, {"y", 1}, {"yes", 1}, {"on", 1},  {"true", 1},
        {"0", 0}, {"n", 0}, {"no", 0},  {"off", 0}, {"false", 0},
    };
    char text[PROPERTY_VALUE_MAX];
    property_get(key, text, nullptr);
    for (const auto& word : kWords) {
        if (strcmp(text, word.text) == 0) {
            return word.value;
        }
    }
    return default_value;
}

int32_t property_get_int32(const char* key, int32_t default_value) {
    return get_integer(key, default_value);
}

int64_t property_get_int64(const char* key, int64_t default_value) {
    return get_integer(key, default_value);
}

int property_set(const char* key, const char* value) {
    const int checked = check(key, value);
    if (checked != 0) {
        return checked;
    }
    int result = -ENOMEM;
    try {
        const std::string path = properties::file_path();
        if (path.empty()) {
            return refuse(key, "set CORVEX_PROPERTY_FILE, XDG_CONFIG_HOME or HOME", -ENOENT);
        }
        result = properties::set_in_file(path, key, value != nullptr ? value : "");
    } catch (const std::bad_alloc&) {
        result = -ENOMEM;
    }
    return result == 0 ? 0 : refuse(key, strerror(-result), result);
}

int property_list(void (*propfn)(const char* key, const char* value, void* cookie), void* cookie) {
    if (propfn == nullptr) {
        return -EINVAL;
    }
    properties::value_map all;
    try {
        all = properties::cache().all();
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    }
    for (const auto& [key, value] : all) {
        propfn(key.c_str(), value.c_str(), cookie);
    }
    return 0;
}

int property_override(const char* key, const char* value) {
    const int checked = check(key, value);
    if (checked != 0) {
        return checked;
    }
    try {
        properties::cache().set_override(key, value);
        return 0;
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    }
}

void property_clear_overrides(void) {
    properties::cache().clear_overrides();
}
