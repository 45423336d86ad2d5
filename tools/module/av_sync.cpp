#include "tools/module/av_sync.h"

#include <algorithm>

#include "host/program_error.h"
#include "tools/terminal/number_text.h"

namespace {

constexpr char key[] = "hw_av_sync";

// The key's value in "a=1;b=2"; empty when it has none.
std::string value_of(const std::string& name, const std::string& parameters) {
    for (size_t begin = 0; begin < parameters.size();) {
        const size_t end = std::min(parameters.find(';', begin), parameters.size());
        const std::string pair = parameters.substr(begin, end - begin);
        if (pair.rfind(name + "=", 0) == 0) {
            return pair.substr(name.size() + 1);
        }
        begin = end + 1;
    }
    return {};
}

}  // namespace

uint32_t query_av_sync(const hal_device& device, const log_lines& log) {
    const std::string reply = device.parameters(key);
    const std::string value = value_of(key, reply);
    if (value.empty()) {
        throw program_error("the device has no AV-sync source" + module_reason(log) +
                            "; a player service has to run: see --service");
    }
    // The module writes the id as a signed number.
    int64_t id = 0;
    if (!parse_number(value, id) || id < INT32_MIN || id > UINT32_MAX) {
        throw program_error("the device answers '" + reply +
                            "' for its AV-sync source, which is no "
                            "id; see the module's log with -v");
    }
    return static_cast<uint32_t>(id);
}
