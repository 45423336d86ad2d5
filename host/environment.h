// The environment, as one thread sees it that nobody else changes it for.
#pragma once

#include <cstdlib>
#include <string>

// The value of an environment variable, or empty.
inline std::string environment_value(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}
