// The device's hardware AV-sync source, which a tunnel stream plays in time with.
#pragma once

#include <cstdint>

#include "tools/module/hal_module.h"
#include "tools/terminal/log_lines.h"

// Asks the device for "hw_av_sync" and answers the id, the same one each time while the device is
// open. Throws program_error, with the module's reason out of `log`, when there is none.
uint32_t query_av_sync(const hal_device& device, const log_lines& log);
