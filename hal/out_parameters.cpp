#include <errno.h>
#include <string.h>

#include "diag/debug_switches.h"
#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/capability_lists.h"
#include "hal/out_operations.h"
#include "hal/parsed_parameters.h"
#include "records/stream_out.h"

namespace {
constexpr const char* log_tag = "audio_hal";
}  // namespace

int out_set_parameters(struct audio_stream* stream, const char* kvpairs) {
    HAL_LOGD("out_set_parameters kvpairs = %s", log_text(kvpairs));
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    const parsed_parameters request = parse_parameters(__func__, kvpairs);
    if (request == nullptr) {
        return -1;
    }
    char value[32];
    if (str_parms_get_str(request.get(), AUDIO_PARAMETER_STREAM_SAMPLING_RATE, value,
                          sizeof(value)) >= 0) {
        // Known to the framework's routing, and nothing to apply: the card runs at one rate.
        HAL_LOGD("%s: AUDIO_PARAMETER_STREAM_SAMPLING_RATE=%s", __func__, value);
    }
    return 0;
}

char* out_get_parameters(const struct audio_stream* stream, const char* keys) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return strdup("");
    }
    const parameter_query query = parse_query(__func__, keys);
    if (query.reply == nullptr) {
        return strdup("");
    }
    HAL_LOGV("out_get_parameters() enter: keys=%s", keys);

    const hal_stream_out* const out = to_hal_stream_out(stream);
    const stream_capabilities lists = {out->supported_channel_masks, out->supported_formats,
                                       out->supported_sample_rates};
    int status = 0;  // of the last key that was handled
    for (const capability_query& each : capability_queries) {
        if (str_parms_has_key(query.keys.get(), each.key)) {
            status = each.write(query.keys.get(), query.reply.get(), lists.*each.list);
        }
    }
    char* const result = status != 0 ? str_parms_to_str(query.reply.get()) : strdup("");
    HAL_LOGD("out_get_parameters() exit: returns=%s", log_text(result));
    return result;
}
