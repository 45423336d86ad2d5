/*
 * Questions about devices. audio_devices_t names one device or a set of devices of one direction;
 * AUDIO_DEVICE_BIT_IN marks inputs, whose other bits mean other devices than those of outputs.
 */
#ifndef CORVEX_SYSTEM_AUDIO_DEVICES_H
#define CORVEX_SYSTEM_AUDIO_DEVICES_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/cdefs.h>

#include <cutils/bitops.h>
#include <system/audio-base-utils.h>

__BEGIN_DECLS

#define AUDIO_DEVICE_MAX_ADDRESS_LEN 32 /* bytes, with the final zero */

/* What policies call the end that nothing is connected to. */
#define AUDIO_DEVICE_OUT_STUB AUDIO_DEVICE_OUT_DEFAULT
#define AUDIO_DEVICE_IN_STUB AUDIO_DEVICE_IN_DEFAULT

/* Whether it is a set of outputs, however many. */
static inline bool audio_is_output_devices(audio_devices_t device) {
    return (device & AUDIO_DEVICE_BIT_IN) == 0;
}

/* Whether it is exactly one device, an output and one of `known`. */
static inline bool corvex_is_one_output_of(audio_devices_t device, audio_devices_t known) {
    return audio_is_output_devices(device) && popcount(device) == 1 && (device & ~known) == 0;
}

/* Whether it is exactly one device, an input and one of `known`. */
static inline bool corvex_is_one_input_of(audio_devices_t device, audio_devices_t known) {
    return !audio_is_output_devices(device) && popcount(device) == 2 && (device & ~known) == 0;
}

static inline bool audio_is_output_device(audio_devices_t device) {
    return corvex_is_one_output_of(device, AUDIO_DEVICE_OUT_ALL);
}

static inline bool audio_is_input_device(audio_devices_t device) {
    return corvex_is_one_input_of(device, AUDIO_DEVICE_IN_ALL);
}

static inline bool audio_is_a2dp_out_device(audio_devices_t device) {
    return corvex_is_one_output_of(device, AUDIO_DEVICE_OUT_ALL_A2DP);
}

static inline bool audio_is_a2dp_in_device(audio_devices_t device) {
    return corvex_is_one_input_of(device, AUDIO_DEVICE_IN_BLUETOOTH_A2DP);
}

/* Of outputs only, as its name was before inputs had such devices. */
static inline bool audio_is_a2dp_device(audio_devices_t device) {
    return audio_is_a2dp_out_device(device);
}

static inline bool audio_is_bluetooth_sco_device(audio_devices_t device) {
    return corvex_is_one_output_of(device, AUDIO_DEVICE_OUT_ALL_SCO) ||
           corvex_is_one_input_of(device, AUDIO_DEVICE_IN_ALL_SCO);
}

static inline bool audio_is_hearing_aid_out_device(audio_devices_t device) {
    return device == AUDIO_DEVICE_OUT_HEARING_AID;
}

static inline bool audio_is_usb_out_device(audio_devices_t device) {
    return corvex_is_one_output_of(device, AUDIO_DEVICE_OUT_ALL_USB);
}

static inline bool audio_is_usb_in_device(audio_devices_t device) {
    return corvex_is_one_input_of(device, AUDIO_DEVICE_IN_ALL_USB);
}

/* Of outputs only, as its name was before inputs had such devices. */
static inline bool audio_is_usb_device(audio_devices_t device) {
    return audio_is_usb_out_device(device);
}

/* Whether a remote submix is among the devices. */
static inline bool audio_is_remote_submix_device(audio_devices_t device) {
    const audio_devices_t submix = audio_is_output_devices(device) ? AUDIO_DEVICE_OUT_REMOTE_SUBMIX
                                                                   : AUDIO_DEVICE_IN_REMOTE_SUBMIX;
    return (device & submix) == submix;
}

/* Whether any of the devices takes or gives digital sound. */
static inline bool audio_device_is_digital(audio_devices_t device) {
    const audio_devices_t usb =
        audio_is_output_devices(device) ? AUDIO_DEVICE_OUT_ALL_USB : AUDIO_DEVICE_IN_ALL_USB;
    const audio_devices_t others = audio_is_output_devices(device)
                                       ? AUDIO_DEVICE_OUT_HDMI | AUDIO_DEVICE_OUT_HDMI_ARC |
                                             AUDIO_DEVICE_OUT_SPDIF | AUDIO_DEVICE_OUT_IP |
                                             AUDIO_DEVICE_OUT_BUS
                                       : AUDIO_DEVICE_IN_HDMI | AUDIO_DEVICE_IN_SPDIF |
                                             AUDIO_DEVICE_IN_IP | AUDIO_DEVICE_IN_BUS;
    const audio_devices_t direction = AUDIO_DEVICE_BIT_IN;
    return (device & (usb | others) & ~direction) != 0;
}

/*
 * What set_parameters is told of the address of an output, whose kind chooses the key. An address
 * longer than AUDIO_DEVICE_MAX_ADDRESS_LEN is cut; null is as good as an empty one. Null without
 * memory; the caller frees it.
 */
static inline char* audio_device_address_to_parameter(audio_devices_t device, const char* address) {
    char parameter[sizeof("a2dp_sink_address=") + AUDIO_DEVICE_MAX_ADDRESS_LEN];
    const char* const key = (device & AUDIO_DEVICE_OUT_ALL_A2DP) != 0        ? "a2dp_sink_address="
                            : (device & AUDIO_DEVICE_OUT_REMOTE_SUBMIX) != 0 ? "mix="
                                                                             : "";
    snprintf(parameter, sizeof(parameter), "%s%s", key, address ? address : "");
    return __builtin_strdup(parameter); /* strict C11 hides the function's own name */
}

__END_DECLS

#endif
