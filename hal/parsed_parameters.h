// Parameter text, "key=value" pairs joined by ";", parsed for a scope.
#pragma once

#include <memory>

#include <cutils/str_parms.h>

struct str_parms_release {
    void operator()(struct str_parms* parms) const { str_parms_destroy(parms); }
};

using parsed_parameters = std::unique_ptr<struct str_parms, str_parms_release>;

// The parsed text; null, with an error line for the operation, when it is null or memory is short.
parsed_parameters parse_parameters(const char* operation, const char* text);

// A query and the reply that it is to get, still empty.
struct parameter_query {
    parsed_parameters keys;
    parsed_parameters reply;  // null when either could not be created, which is then logged
};

parameter_query parse_query(const char* operation, const char* keys);
