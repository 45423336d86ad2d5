// A status as the "%x" of a log line takes it.
#pragma once

#include <stdint.h>

inline unsigned as_hex(int32_t status) {
    return static_cast<unsigned>(status);
}
