#include <errno.h>
#include <string.h>

#include "diag/debug_switches.h"
#include "diag/lock.h"
#include "diag/log.h"
#include "hal/arguments.h"
#include "hal/capability_lists.h"
#include "hal/in_operations.h"
#include "hal/parsed_parameters.h"
#include "records/stream_in.h"

namespace {

constexpr const char* log_tag = "audio_hal";

// What the framework tells a stream, by the names under which it is logged. Nothing of it changes
// the stream: the card has one microphone, one rate and one layout.
constexpr struct {
    const char* key;
    const char* name;
} known_parameters[] = {
    {AUDIO_PARAMETER_STREAM_INPUT_SOURCE, "AUDIO_PARAMETER_STREAM_INPUT_SOURCE"},
    {AUDIO_PARAMETER_STREAM_ROUTING, "AUDIO_PARAMETER_STREAM_ROUTING"},
    {AUDIO_PARAMETER_STREAM_CHANNELS, "AUDIO_PARAMETER_STREAM_CHANNELS"},
    {AUDIO_PARAMETER_STREAM_SAMPLING_RATE, "AUDIO_PARAMETER_STREAM_SAMPLING_RATE"},
};

}  // namespace

int in_set_parameters(struct audio_stream* stream, const char* kvpairs) {
    if (any_null(__func__, stream)) {
        return -EINVAL;
    }
    const parsed_parameters request = parse_parameters(__func__, kvpairs);
    if (request == nullptr) {
        return -1;
    }
    const hal_lock lock(to_hal_stream_in(stream)->lock, log_tag, __func__);
    for (const auto& each : known_parameters) {
        char value[32];
        if (str_parms_get_str(request.get(), each.key, value, sizeof(value)) >= 0) {
            HAL_LOGD("%s: %s=%s", __func__, each.name, value);
        }
    }
    return 0;
}

char* in_get_parameters(const struct audio_stream* stream, const char* keys) {
    trace_call(log_tag, __func__);
    if (any_null(__func__, stream)) {
        return strdup("");
    }
    const parameter_query query = parse_query(__func__, keys);
    if (query.reply == nullptr) {
        return strdup("");
    }
    HAL_LOGV("in(%p) get_parameters() enter: keys=%s", static_cast<const void*>(stream), keys);

    const hal_stream_in* const in = to_hal_stream_in(stream);
    const stream_capabilities lists = {in->supported_channel_masks, in->supported_formats,
                                       in->supported_sample_rates};
    int status = 0;  // of the first key that has an answer: later ones are left alone
    for (const capability_query& each : capability_queries) {
        status = each.write(query.keys.get(), query.reply.get(), lists.*each.list);
        if (status != 0) {
            break;
        }
    }
    char* const result = status != 0 ? str_parms_to_str(query.reply.get()) : strdup("");
    HAL_LOGD("in_get_parameters() exit: returns=%s", log_text(result));
    return result;
}
