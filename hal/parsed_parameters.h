// Owner of a str_parms object for a scope.
#pragma once

#include <memory>

#include <cutils/str_parms.h>

struct str_parms_release {
    void operator()(struct str_parms* parms) const { str_parms_destroy(parms); }
};

// Null when it could not be created.
using parsed_parameters = std::unique_ptr<struct str_parms, str_parms_release>;

// Parses "key=value" pairs joined by ";". Null text gives null, like text that cannot be parsed.
inline parsed_parameters parse_parameters(const char* text) {
    return parsed_parameters(text != nullptr ? str_parms_create_str(text) : nullptr);
}

inline parsed_parameters empty_parameters() {
    return parsed_parameters(str_parms_create());
}
