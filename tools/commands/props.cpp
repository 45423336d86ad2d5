// corvex-hal getprop and setprop: the properties that the module reads its switches from.

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <cutils/properties.h>
#include <cutils/property_overrides.h>

#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/terminal/log_lines.h"

namespace {

class getprop_command : public command {
  public:
    void declare(CLI::App& app) override {
        app.add_option("KEY", key_, "Property to print; all of them when left out");
    }

    int run(const global_options&, log_lines&) override {
        if (key_.empty()) {
            const auto print = [](const char* key, const char* value, void*) {
                std::printf("%s=%s\n", key, value);
            };
            return property_list(print, nullptr) == 0 ? exit_success : exit_failure;
        }
        char value[PROPERTY_VALUE_MAX];
        property_get(key_.c_str(), value, "");
        std::printf("%s\n", value);
        return exit_success;
    }

  private:
    std::string key_;
};

class setprop_command : public command {
  public:
    void declare(CLI::App& app) override {
        app.add_option("KEY", key_, "Letters, digits and . _ - @ :")->required();
        app.add_option("VALUE", value_, "At most 91 bytes; \"\" for none")->required();
    }

    int run(const global_options&, log_lines&) override {
        const std::string path = property_file_path();
        if (path.empty()) {
            throw program_error(
                "there is no place for the property file; set HOME or "
                "CORVEX_PROPERTY_FILE");
        }
        const int status = property_set(key_.c_str(), value_.c_str());
        if (status == -EINVAL) {
            throw program_error(
                "cannot set '" + key_ +
                    "': a key has letters, digits and . _ - @ : only, and a value at most "
                    "91 bytes in one line; correct it",
                exit_usage);
        }
        if (status != 0) {
            throw program_error("cannot write the property file '" + path +
                                "': " + std::strerror(-status) +
                                "; check its folder's rights or set CORVEX_PROPERTY_FILE");
        }
        return exit_success;
    }

  private:
    std::string key_;
    std::string value_;
};

}  // namespace

std::unique_ptr<command> make_getprop() {
    return std::make_unique<getprop_command>();
}

std::unique_ptr<command> make_setprop() {
    return std::make_unique<setprop_command>();
}
