// Whether a module's tinyalsa can be sent to a device of the user's choice.
#pragma once

#include "tools/device/chosen_device.h"
#include "tools/module/hal_module.h"

// Throws program_error where `device` is not card 0 and the module is linked with a tinyalsa that
// knows nothing else. A module of whose tinyalsa nothing can be seen is let through.
void require_tinyalsa_for(const hal_module& module, const chosen_device& device);
