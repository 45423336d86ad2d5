#include "hal/capability_lists.h"

#include <stddef.h>
#include <string.h>

#include <annexk/annexk.h>
#include <cutils/properties.h>
#include <hardware/audio.h>
#include <system/audio.h>

#include "diag/log.h"

namespace {

constexpr const char* log_tag = "audio_hal";

constexpr size_t value_size = PROPERTY_VALUE_MAX;

struct named_value {
    uint32_t value;
    const char* name;
};

constexpr named_value channel_name_table[] = {
    {0x3, "AUDIO_CHANNEL_OUT_STEREO"},          {0x3F, "AUDIO_CHANNEL_OUT_5POINT1"},
    {0x63F, "AUDIO_CHANNEL_OUT_7POINT1"},       {0x10, "AUDIO_CHANNEL_IN_MONO"},
    {0xC, "AUDIO_CHANNEL_IN_STEREO"},           {0x30, "AUDIO_CHANNEL_IN_FRONT_BACK"},
    {0x80000001, "AUDIO_CHANNEL_INDEX_MASK_1"}, {0x80000003, "AUDIO_CHANNEL_INDEX_MASK_2"},
    {0x80000007, "AUDIO_CHANNEL_INDEX_MASK_3"}, {0x8000000F, "AUDIO_CHANNEL_INDEX_MASK_4"},
    {0x8000001F, "AUDIO_CHANNEL_INDEX_MASK_5"}, {0x8000003F, "AUDIO_CHANNEL_INDEX_MASK_6"},
    {0x8000007F, "AUDIO_CHANNEL_INDEX_MASK_7"}, {0x800000FF, "AUDIO_CHANNEL_INDEX_MASK_8"},
};

constexpr named_value format_name_table[] = {
    {AUDIO_FORMAT_PCM_16_BIT, "AUDIO_FORMAT_PCM_16_BIT"},
    {AUDIO_FORMAT_PCM_32_BIT, "AUDIO_FORMAT_PCM_32_BIT"},
    {AUDIO_FORMAT_PCM_24_BIT_PACKED, "AUDIO_FORMAT_PCM_24_BIT_PACKED"},
};

template <size_t rows>
const char* name_of(uint32_t value, const named_value (&table)[rows]) {
    for (const named_value& row : table) {
        if (row.value == value) {
            return row.name;
        }
    }
    return nullptr;
}

void clear_value(char (&value)[value_size], const char* operation) {
    const int error = memset_s(value, sizeof(value), 0, sizeof(value));
    if (error != 0) {
        HAL_LOGE("%s: memset_s value failed, ret(0x%x)", operation, static_cast<unsigned>(error));
        value[0] = '\0';
    }
}

// Appends a name; false, and a log line, when it does not fit.
bool append_name(char (&value)[value_size], const char* name, const char* operation) {
    const int error = strcat_s(value, sizeof(value), name);
    if (error != 0) {
        HAL_LOGD("%s: add format %s failed, ret(0x%x)", operation, name,
                 static_cast<unsigned>(error));
    }
    return error == 0;
}

}  // namespace

int get_parameter_channels(struct str_parms* query, struct str_parms* reply, const uint32_t* list) {
    char value[value_size];
    clear_value(value, __func__);
    if (!str_parms_has_key(query, AUDIO_PARAMETER_STREAM_SUP_CHANNELS)) {
        return 0;
    }
    bool first = true;
    for (; *list != 0; ++list) {
        const char* const name = name_of(*list, channel_name_table);
        if (name == nullptr) {
            continue;
        }
        HAL_LOGD("%s: supported format %s", __func__, name);
        if (!first) {
            const int error = strcat_s(value, sizeof(value), "|");
            if (error != 0) {
                HAL_LOGD("%s: add | failed, ret(0x%x)", __func__, static_cast<unsigned>(error));
            }
        }
        first = false;
        append_name(value, name, __func__);
    }
    str_parms_add_str(reply, AUDIO_PARAMETER_STREAM_SUP_CHANNELS, value);
    return 1;
}

int get_parameter_formats(struct str_parms* query, struct str_parms* reply, const uint32_t* list) {
    char value[value_size];
    clear_value(value, __func__);
    if (!str_parms_has_key(query, AUDIO_PARAMETER_STREAM_SUP_FORMATS)) {
        return 0;
    }
    const char* const name = name_of(*list, format_name_table);
    bool answered = true;
    if (name != nullptr) {
        answered = append_name(value, name, __func__);
    } else {
        HAL_LOGE("%s: unsupported format %#x", __func__, *list);
    }
    str_parms_add_str(reply, AUDIO_PARAMETER_STREAM_SUP_FORMATS, value);
    return answered ? 1 : 0;
}

int get_parameter_rates(struct str_parms* query, struct str_parms* reply, const uint32_t* list) {
    char value[value_size];
    clear_value(value, __func__);
    if (!str_parms_has_key(query, AUDIO_PARAMETER_STREAM_SUP_SAMPLING_RATES)) {
        return 0;
    }
    size_t used = 0;
    for (; *list != 0; ++list) {
        const int error = snprintf_s(value + used, sizeof(value) - used, "%s%d",
                                     used == 0 ? "" : "|", static_cast<int>(*list));
        if (error != 0) {
            HAL_LOGD("%s: add rate %u failed, ret(0x%x)", __func__, *list,
                     static_cast<unsigned>(error));
            value[used] = '\0';  // no half number
            break;
        }
        used += strlen(value + used);
    }
    str_parms_add_str(reply, AUDIO_PARAMETER_STREAM_SUP_SAMPLING_RATES, value);
    return used > 0 ? 1 : 0;
}

const capability_query capability_queries[3] = {
    {AUDIO_PARAMETER_STREAM_SUP_CHANNELS, get_parameter_channels,
     &stream_capabilities::channel_masks},
    {AUDIO_PARAMETER_STREAM_SUP_FORMATS, get_parameter_formats, &stream_capabilities::formats},
    {AUDIO_PARAMETER_STREAM_SUP_SAMPLING_RATES, get_parameter_rates,
     &stream_capabilities::sample_rates},
};
