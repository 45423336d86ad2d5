#include "diag/debug_switches.h"

#include <stdlib.h>

#include <annexk/annexk.h>
#include <cutils/properties.h>

#include "diag/log.h"
#include "diag/property_switch.h"

extern "C" {
int32_t gbEnableTrace = 0;
int32_t gbEnablePts = 0;
int32_t gbEnableDataPath = 0;
int32_t gbEnableXrunCheck = 0;
}

namespace {

// The switches are the one part of the module that logs without a tag.
constexpr const char* log_tag = nullptr;

constexpr const char* all_switches_property = "persist.audiohal.log.all";

struct log_switch {
    const char* property;
    int32_t* value;
};

// In the order in which the properties are read.
constexpr log_switch log_switches[] = {
    {"persist.audiohal.log.datapath", &gbEnableDataPath},
    {"persist.audiohal.log.pts", &gbEnablePts},
    {"persist.audiohal.log.xruncheck", &gbEnableXrunCheck},
    {"persist.audiohal.log.functrace", &gbEnableTrace},
};

void set_all_switches(int32_t value) {
    for (const log_switch& each : log_switches) {
        store_relaxed(*each.value, value);
    }
}

}  // namespace

int32_t get_platform_property(void) {
    char value[PROPERTY_VALUE_MAX];
    property_get(all_switches_property, value, "");
    switch (atoi(value)) {
        case 2:
            set_all_switches(0);
            HAL_LOGD("%s: Disable ALL LOG\n", __func__);
            return 0;
        case 1:
            set_all_switches(1);
            HAL_LOGD("%s: Enable ALL LOG\n", __func__);
            return 0;
        default:
            break;
    }

    for (const log_switch& each : log_switches) {
        const int error = memset_s(value, sizeof(value), 0, sizeof(value));
        if (error != 0) {
            // The same text for each of the four.
            HAL_LOGE("%s: memset_s value for PROPERTY_DATAPATH failed, ret(0x%x)", __func__,
                     static_cast<unsigned>(error));
        }
        store_relaxed(*each.value,
                      static_cast<int32_t>(read_property_switch(each.property, value)));
    }
    HAL_LOGD("%s: LOG DataPath(%d) Pts(%d) XrunCheck(%d) FuncTrace(%d)\n", __func__,
             load_relaxed(gbEnableDataPath), load_relaxed(gbEnablePts),
             load_relaxed(gbEnableXrunCheck), load_relaxed(gbEnableTrace));
    return 0;
}

void trace_call(const char* tag, const char* operation) {
    if (is_switch_on(gbEnableTrace)) {
        __android_log_print(ANDROID_LOG_DEBUG, tag, " %s called", operation);
    }
}
