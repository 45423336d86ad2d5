#include "hal/parsed_parameters.h"

#include <utility>

#include "diag/log.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// The object, after an error line when there is none.
parsed_parameters checked(const char* operation, struct str_parms* parms) {
    if (parms == nullptr) {
        HAL_LOGE("%s: create param fail", operation);
    }
    return parsed_parameters(parms);
}

}  // namespace

parsed_parameters parse_parameters(const char* operation, const char* text) {
    return checked(operation, text != nullptr ? str_parms_create_str(text) : nullptr);
}

parameter_query parse_query(const char* operation, const char* keys) {
    parameter_query query = {parse_parameters(operation, keys), nullptr};
    if (query.keys != nullptr) {
        query.reply = checked(operation, str_parms_create());
    }
    return query;
}
