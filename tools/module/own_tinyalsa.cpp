#include "tools/module/own_tinyalsa.h"

#include <dlfcn.h>

#include "host/program_error.h"

void require_tinyalsa_for(const hal_module& module, const chosen_device& device) {
    if (device.variable.empty()) {
        return;
    }
    void* const library = module.descriptor().dso;
    void* const open = dlsym(library, "pcm_open");
    if (open == nullptr || dlsym(library, "pcm_target_variables") != nullptr) {
        return;
    }
    Dl_info where = {};
    dladdr(open, &where);
    throw program_error("the module's tinyalsa, '" +
                        std::string(where.dli_fname != nullptr ? where.dli_fname : "unnamed") +
                        "', plays and records through card 0 only, not through " + device.text +
                        "; give the device 'card', or build the module with -DCORVEX_TINYALSA=own");
}
