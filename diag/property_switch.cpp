#include "diag/property_switch.h"

#include <string.h>

bool read_property_switch(const char* property, char (&value)[PROPERTY_VALUE_MAX]) {
    property_get(property, value, "");
    return strncmp(value, "true", sizeof(value)) == 0;
}
