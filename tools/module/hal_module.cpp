#include "tools/module/hal_module.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <hardware/hardware.h>
#include <hardware/module_file.h>

#include "host/environment.h"
#include "host/program_error.h"

namespace {

constexpr size_t max_path_bytes = 4096;
constexpr char module_class[] = "audio";
constexpr char module_instance[] = "primary";
constexpr char service_wait_variable[] = "CORVEX_BINDER_WAIT_MS";

std::string loader_reason(int status) {
    const std::string reason = hw_module_error();
    return reason.empty() ? status_text(status) : reason;
}

}  // namespace

std::string status_text(int status) {
    const std::string number = std::to_string(status);
    return status < 0 && status > -4096 ? number + " (" + std::strerror(-status) + ")" : number;
}

hal_module::hal_module(const std::string& path) : path_(path) {
    if (!path.empty()) {
        const int status = hw_load_module_file(path.c_str(), module_class, &module_);
        if (status != 0 || module_ == nullptr) {
            throw program_error("cannot load the module '" + path + "': " + loader_reason(status) +
                                "; give --module the path of an audio module");
        }
    } else {
        std::vector<char> found(max_path_bytes);
        if (hw_find_module_file(module_class, module_instance, found.data(), found.size()) == 0) {
            path_ = found.data();
        }
        const int status = hw_get_module_by_class(module_class, module_instance, &module_);
        if (status != 0 || module_ == nullptr) {
            throw program_error(
                "cannot load the primary audio module: " + loader_reason(status) +
                "; name its file with --module or its folder in CORVEX_MODULE_PATH");
        }
    }
    if (module_->methods == nullptr || module_->methods->open == nullptr) {
        throw program_error("the module '" + path_ +
                            "' has no open method; give --module a complete audio module");
    }
}

hal_device::hal_device(const hal_module& module, absent_player_service then) {
    if (then == absent_player_service::go_on && environment_value(service_wait_variable).empty()) {
        setenv(service_wait_variable, "0", 1);
    }
    const int status = audio_hw_device_open(&module.descriptor(), &device_);
    if (status != 0 || device_ == nullptr) {
        device_ = nullptr;
        throw program_error("the module '" + module.path() + "' does not open its device: " +
                            status_text(status) + "; see its own log lines with -v");
    }
}

hal_device::~hal_device() {
    if (device_->common.close != nullptr) {
        audio_hw_device_close(device_);
    }
}

std::string hal_device::parameters(const char* keys) const {
    if (device_->get_parameters == nullptr) {
        return {};
    }
    const std::unique_ptr<char, void (*)(void*)> reply(device_->get_parameters(device_, keys),
                                                       free);
    return reply != nullptr ? reply.get() : "";
}
