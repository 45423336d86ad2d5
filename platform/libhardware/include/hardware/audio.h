/*
 * The audio device and its streams: the tables of operations an audio module fills and the
 * framework calls. Layouts and names are Android 9's.
 *
 * The framework may call a stream from several threads; a playback or capture thread calls write or
 * read. Strings and structures passed in are the caller's for the call. Results are 0 or a negative
 * errno unless said otherwise. A null operation is not supported.
 */
#ifndef CORVEX_HARDWARE_AUDIO_H
#define CORVEX_HARDWARE_AUDIO_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <strings.h>
#include <sys/cdefs.h>
#include <sys/types.h>
#include <time.h>

#include <cutils/bitops.h>
#include <hardware/audio_effect.h>
#include <hardware/hardware.h>
#include <system/audio.h>

__BEGIN_DECLS

struct timespec; /* which time.h leaves out for strict C99 */

#define AUDIO_HARDWARE_MODULE_ID "audio"       /* class of the module */
#define AUDIO_HARDWARE_INTERFACE "audio_hw_if" /* id of its device */

#define AUDIO_MODULE_API_VERSION_0_1 HARDWARE_MODULE_API_VERSION(0, 1)
#define AUDIO_MODULE_API_VERSION_CURRENT AUDIO_MODULE_API_VERSION_0_1

#define AUDIO_DEVICE_API_VERSION_0_0 HARDWARE_DEVICE_API_VERSION(0, 0)
#define AUDIO_DEVICE_API_VERSION_1_0 HARDWARE_DEVICE_API_VERSION(1, 0)
#define AUDIO_DEVICE_API_VERSION_2_0 HARDWARE_DEVICE_API_VERSION(2, 0)
#define AUDIO_DEVICE_API_VERSION_3_0 HARDWARE_DEVICE_API_VERSION(3, 0)
#define AUDIO_DEVICE_API_VERSION_CURRENT AUDIO_DEVICE_API_VERSION_3_0
#define AUDIO_DEVICE_API_VERSION_MIN AUDIO_DEVICE_API_VERSION_2_0

/* Keys and values of a device's set_parameters and get_parameters, beside those that the framework
 * shares with others (system/audio-parameters.h). */
#define AUDIO_PARAMETER_KEY_TTY_MODE "tty_mode"
#define AUDIO_PARAMETER_VALUE_TTY_OFF "tty_off"
#define AUDIO_PARAMETER_VALUE_TTY_VCO "tty_vco"
#define AUDIO_PARAMETER_VALUE_TTY_HCO "tty_hco"
#define AUDIO_PARAMETER_VALUE_TTY_FULL "tty_full"
#define AUDIO_PARAMETER_KEY_HAC "HACSetting" /* a telecoil of a hearing aid */
#define AUDIO_PARAMETER_VALUE_HAC_ON "ON"
#define AUDIO_PARAMETER_VALUE_HAC_OFF "OFF"
#define AUDIO_PARAMETER_A2DP_SINK_ADDRESS "a2dp_sink_address"
#define AUDIO_PARAMETER_A2DP_SOURCE_ADDRESS "a2dp_source_address"
#define AUDIO_PARAMETER_KEY_BT_SCO_WB "bt_wbs"
#define AUDIO_PARAMETER_KEY_BT_SCO_HEADSET_NAME "bt_headset_name"
#define AUDIO_PARAMETER_KEY_HFP_ENABLE "hfp_enable"
#define AUDIO_PARAMETER_KEY_HFP_SET_SAMPLING_RATE "hfp_set_sampling_rate"
#define AUDIO_PARAMETER_KEY_HFP_VOLUME "hfp_volume"
#define AUDIO_PARAMETER_KEY_ROTATION "rotation" /* of the screen, in degrees */
#define AUDIO_PARAMETER_KEY_AANC "aanc_enabled" /* adaptive noise cancellation */
#define AUDIO_PARAMETER_KEY_CLOSING "closing"
#define AUDIO_PARAMETER_KEY_EXITING "exiting"

typedef enum CORVEX_ENUM_BASE(int) {
    STREAM_CBK_EVENT_WRITE_READY = 0, /* a non-blocking write would take data again */
    STREAM_CBK_EVENT_DRAIN_READY = 1,
    STREAM_CBK_EVENT_ERROR = 2, /* the stream cannot go on; the framework closes it */
} stream_callback_event_t;

typedef int (*stream_callback_t)(stream_callback_event_t event, void* param, void* cookie);

typedef enum CORVEX_ENUM_BASE(int) {
    AUDIO_DRAIN_ALL = 0,          /* report when all data is played */
    AUDIO_DRAIN_EARLY_NOTIFY = 1, /* report shortly before, to give time for the next track */
} audio_drain_type_t;

typedef struct source_metadata {
    size_t track_count;
    struct playback_track_metadata* tracks;
} source_metadata_t;

typedef struct sink_metadata {
    size_t track_count;
    struct record_track_metadata* tracks;
} sink_metadata_t;

struct audio_stream {
    uint32_t (*get_sample_rate)(const struct audio_stream* stream); /* Hz */
    int (*set_sample_rate)(struct audio_stream* stream, uint32_t rate);
    size_t (*get_buffer_size)(const struct audio_stream* stream); /* bytes */
    audio_channel_mask_t (*get_channels)(const struct audio_stream* stream);
    audio_format_t (*get_format)(const struct audio_stream* stream);
    int (*set_format)(struct audio_stream* stream, audio_format_t format);
    int (*standby)(struct audio_stream* stream);
    int (*dump)(const struct audio_stream* stream, int fd);
    audio_devices_t (*get_device)(const struct audio_stream* stream);
    int (*set_device)(struct audio_stream* stream, audio_devices_t device);
    int (*set_parameters)(struct audio_stream* stream, const char* kv_pairs);
    char* (*get_parameters)(const struct audio_stream* stream, const char* keys); /* caller frees */
    int (*add_audio_effect)(const struct audio_stream* stream, effect_handle_t effect);
    int (*remove_audio_effect)(const struct audio_stream* stream, effect_handle_t effect);
};
typedef struct audio_stream audio_stream_t;

struct audio_stream_out {
    struct audio_stream common; /* first, so that one pointer is both */
    uint32_t (*get_latency)(const struct audio_stream_out* stream);              /* ms */
    int (*set_volume)(struct audio_stream_out* stream, float left, float right); /* 0 to 1 */
    ssize_t (*write)(struct audio_stream_out* stream, const void* buffer, size_t bytes);
    int (*get_render_position)(const struct audio_stream_out* stream, uint32_t* dsp_frames);
    int (*get_next_write_timestamp)(const struct audio_stream_out* stream, int64_t* timestamp);
    int (*set_callback)(struct audio_stream_out* stream, stream_callback_t callback, void* cookie);
    int (*pause)(struct audio_stream_out* stream);
    int (*resume)(struct audio_stream_out* stream);
    int (*drain)(struct audio_stream_out* stream, audio_drain_type_t type);
    int (*flush)(struct audio_stream_out* stream);
    int (*get_presentation_position)(const struct audio_stream_out* stream, uint64_t* frames,
                                     struct timespec* timestamp);
    int (*start)(const struct audio_stream_out* stream);
    int (*stop)(const struct audio_stream_out* stream);
    int (*create_mmap_buffer)(const struct audio_stream_out* stream, int32_t min_size_frames,
                              struct audio_mmap_buffer_info* info);
    int (*get_mmap_position)(const struct audio_stream_out* stream,
                             struct audio_mmap_position* position);
    void (*update_source_metadata)(struct audio_stream_out* stream,
                                   const struct source_metadata* source_metadata);
};
typedef struct audio_stream_out audio_stream_out_t;

struct audio_stream_in {
    struct audio_stream common; /* first, so that one pointer is both */
    int (*set_gain)(struct audio_stream_in* stream, float gain);
    ssize_t (*read)(struct audio_stream_in* stream, void* buffer, size_t bytes);
    uint32_t (*get_input_frames_lost)(struct audio_stream_in* stream); /* since the last call */
    int (*get_capture_position)(const struct audio_stream_in* stream, int64_t* frames,
                                int64_t* time);
    int (*start)(const struct audio_stream_in* stream);
    int (*stop)(const struct audio_stream_in* stream);
    int (*create_mmap_buffer)(const struct audio_stream_in* stream, int32_t min_size_frames,
                              struct audio_mmap_buffer_info* info);
    int (*get_mmap_position)(const struct audio_stream_in* stream,
                             struct audio_mmap_position* position);
    /* *mic_count: room in mic_array, then the number of entries filled. */
    int (*get_active_microphones)(const struct audio_stream_in* stream,
                                  struct audio_microphone_characteristic_t* mic_array,
                                  size_t* mic_count);
    void (*update_sink_metadata)(struct audio_stream_in* stream,
                                 const struct sink_metadata* sink_metadata);
};
typedef struct audio_stream_in audio_stream_in_t;

struct audio_hw_device {
    struct hw_device_t common; /* first, so that one pointer is both */
    uint32_t (*get_supported_devices)(const struct audio_hw_device* dev);
    int (*init_check)(const struct audio_hw_device* dev);
    int (*set_voice_volume)(struct audio_hw_device* dev, float volume); /* 0 to 1 */
    int (*set_master_volume)(struct audio_hw_device* dev, float volume);
    int (*get_master_volume)(struct audio_hw_device* dev, float* volume);
    int (*set_mode)(struct audio_hw_device* dev, audio_mode_t mode);
    int (*set_mic_mute)(struct audio_hw_device* dev, bool state);
    int (*get_mic_mute)(const struct audio_hw_device* dev, bool* state);
    int (*set_parameters)(struct audio_hw_device* dev, const char* kv_pairs);
    char* (*get_parameters)(const struct audio_hw_device* dev, const char* keys); /* caller frees */
    size_t (*get_input_buffer_size)(const struct audio_hw_device* dev,
                                    const struct audio_config* config); /* bytes, 0: cannot */
    /* A configuration the device cannot give is answered -EINVAL, with one it can in *config. */
    int (*open_output_stream)(struct audio_hw_device* dev, audio_io_handle_t handle,
                              audio_devices_t devices, audio_output_flags_t flags,
                              struct audio_config* config, struct audio_stream_out** stream_out,
                              const char* address);
    void (*close_output_stream)(struct audio_hw_device* dev, struct audio_stream_out* stream_out);
    int (*open_input_stream)(struct audio_hw_device* dev, audio_io_handle_t handle,
                             audio_devices_t devices, struct audio_config* config,
                             struct audio_stream_in** stream_in, audio_input_flags_t flags,
                             const char* address, audio_source_t source);
    void (*close_input_stream)(struct audio_hw_device* dev, struct audio_stream_in* stream_in);
    /* *mic_count: room in mic_array, then the number of entries filled. */
    int (*get_microphones)(const struct audio_hw_device* dev,
                           struct audio_microphone_characteristic_t* mic_array, size_t* mic_count);
    int (*dump)(const struct audio_hw_device* dev, int fd);
    int (*set_master_mute)(struct audio_hw_device* dev, bool mute);
    int (*get_master_mute)(struct audio_hw_device* dev, bool* mute);
    /* From version 3.0. */
    int (*create_audio_patch)(struct audio_hw_device* dev, unsigned int num_sources,
                              const struct audio_port_config* sources, unsigned int num_sinks,
                              const struct audio_port_config* sinks, audio_patch_handle_t* handle);
    int (*release_audio_patch)(struct audio_hw_device* dev, audio_patch_handle_t handle);
    int (*get_audio_port)(struct audio_hw_device* dev, struct audio_port* port);
    int (*set_audio_port_config)(struct audio_hw_device* dev,
                                 const struct audio_port_config* config);
};
typedef struct audio_hw_device audio_hw_device_t;

/* What a module's descriptor is. */
struct audio_module {
    struct hw_module_t common;
};

/* Bytes of one frame; 1 for a format whose frames have no fixed size. */
static inline size_t audio_stream_out_frame_size(const struct audio_stream_out* stream) {
    const audio_format_t format = stream->common.get_format(&stream->common);
    if (!audio_has_proportional_frames(format)) {
        return sizeof(int8_t);
    }
    return audio_bytes_per_frame(
        audio_channel_count_from_out_mask(stream->common.get_channels(&stream->common)), format);
}

static inline size_t audio_stream_in_frame_size(const struct audio_stream_in* stream) {
    const audio_format_t format = stream->common.get_format(&stream->common);
    if (!audio_has_proportional_frames(format)) {
        return sizeof(int8_t);
    }
    return audio_bytes_per_frame(
        audio_channel_count_from_in_mask(stream->common.get_channels(&stream->common)), format);
}

/* For old programs: counts every bit of the mask as a channel, also those that say how to read it.
 */
static inline size_t audio_stream_frame_size(const struct audio_stream* s) {
    const audio_format_t format = s->get_format(s);
    if (!audio_has_proportional_frames(format)) {
        return sizeof(int8_t);
    }
    return audio_bytes_per_frame(CORVEX_CAST(uint32_t, popcount(s->get_channels(s))), format);
}

/* Opens the module's device; the caller closes it with audio_hw_device_close. */
static inline int audio_hw_device_open(const struct hw_module_t* module,
                                       struct audio_hw_device** device) {
    return module->methods->open(module, AUDIO_HARDWARE_INTERFACE, TO_HW_DEVICE_T_OPEN(device));
}

static inline int audio_hw_device_close(struct audio_hw_device* device) {
    return device->common.close(&device->common);
}

__END_DECLS

#endif
