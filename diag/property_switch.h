// A system property read as a switch.
#pragma once

#include <cutils/properties.h>

// Reads the property into the caller's buffer, which always comes back terminated, and tells
// whether it is exactly "true": no other case, digit or trailing blank switches anything on.
bool read_property_switch(const char* property, char (&value)[PROPERTY_VALUE_MAX]);
