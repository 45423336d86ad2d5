#include "property_path.h"

#include <cstdlib>
#include <limits.h>
#include <new>
#include <string.h>

#include <cutils/property_overrides.h>

namespace properties {
namespace {

struct location {
    const char* variable;
    bool must_be_absolute;  // a relative one is as good as unset
    const char* below;
};

constexpr location kLocations[] = {
    {"CORVEX_PROPERTY_FILE", false, ""},
    {"XDG_CONFIG_HOME", true, "/corvex/properties"},
    {"HOME", true, "/.config/corvex/properties"},
};

}  // namespace

std::string file_path() {
    for (const location& place : kLocations) {
        const char* value = std::getenv(place.variable);
        if (value != nullptr && *value != '\0' && (!place.must_be_absolute || *value == '/')) {
            return std::string(value) + place.below;
        }
    }
    return {};
}

}  // namespace properties

const char* property_file_path(void) {
    thread_local char shown[PATH_MAX];
    shown[0] = '\0';
    try {
        const std::string path = properties::file_path();
        if (path.size() < sizeof(shown)) {
            memcpy(shown, path.c_str(), path.size() + 1);
        }
    } catch (const std::bad_alloc&) {
        // Without memory there is no path to show.
    }
    return shown;
}
