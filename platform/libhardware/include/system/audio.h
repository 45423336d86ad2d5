/*
 * Audio structures that the framework and the audio module share, and with them the headers of
 * the small questions about formats, channel masks and devices. Layouts and names are Android 9's.
 * Everything here is plain data: no ownership, any thread.
 */
#ifndef CORVEX_SYSTEM_AUDIO_H
#define CORVEX_SYSTEM_AUDIO_H

#include <float.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/cdefs.h>
#include <sys/types.h>

#include <cutils/bitops.h>
#include <system/audio-base-utils.h>
#include <system/audio-base.h>
#include <system/audio-channels.h>
#include <system/audio-devices.h>
#include <system/audio-formats.h>
#include <system/audio-parameters.h>

__BEGIN_DECLS

typedef uint32_t audio_flags_mask_t; /* AUDIO_FLAG_* */
typedef uint32_t audio_gain_mode_t;
typedef uint32_t audio_hw_sync_t; /* a synchronisation id that the module gave */
typedef int audio_io_handle_t;
typedef int audio_module_handle_t;
typedef int audio_port_handle_t;
typedef int audio_patch_handle_t;
typedef int audio_microphone_group_t;
typedef int audio_unique_id_t; /* any of the framework's handles; ports have ids of their own */

/* Handles that name nothing. */
enum {
    AUDIO_IO_HANDLE_NONE = 0,
    AUDIO_MODULE_HANDLE_NONE = 0,
    AUDIO_PORT_HANDLE_NONE = 0,
    AUDIO_PATCH_HANDLE_NONE = 0,
};

/* Samples of one file or stream: where a channel of two is. */
enum {
    AUDIO_INTERLEAVE_LEFT = 0,
    AUDIO_INTERLEAVE_RIGHT = 1,
};

#define AUDIO_UID_INVALID CORVEX_CAST(uid_t, -1)
#define AUDIO_HW_SYNC_INVALID 0
#define AUDIO_REMOTE_SUBMIX_DEVICE_ADDRESS "0"

/* Float samples up to this, 3 dB above full scale, pass a mixer unclipped. */
#define FLOAT_NOMINAL_RANGE_HEADROOM 1.412538

#define AUDIO_MICROPHONE_ID_MAX_LEN 32
#define AUDIO_MICROPHONE_MAX_FREQUENCY_RESPONSES 256
#define AUDIO_MICROPHONE_MAX_COUNT 32
#define AUDIO_MICROPHONE_SPL_UNKNOWN (-FLT_MAX)
#define AUDIO_MICROPHONE_SENSITIVITY_UNKNOWN (-FLT_MAX)
#define AUDIO_MICROPHONE_COORDINATE_UNKNOWN (-FLT_MAX)
#define AUDIO_BOTTOM_MICROPHONE_ADDRESS "bottom"
#define AUDIO_BACK_MICROPHONE_ADDRESS "back"

#define AUDIO_PORT_MAX_NAME_LEN 128
#define AUDIO_PORT_MAX_SAMPLING_RATES 32
#define AUDIO_PORT_MAX_CHANNEL_MASKS 32
#define AUDIO_PORT_MAX_FORMATS 32
#define AUDIO_PORT_MAX_GAINS 16

/* Instances of the module class "audio". */
#define AUDIO_HARDWARE_MODULE_ID_PRIMARY "primary"
#define AUDIO_HARDWARE_MODULE_ID_A2DP "a2dp"
#define AUDIO_HARDWARE_MODULE_ID_USB "usb"
#define AUDIO_HARDWARE_MODULE_ID_REMOTE_SUBMIX "r_submix"
#define AUDIO_HARDWARE_MODULE_ID_CODEC_OFFLOAD "codec_offload"
#define AUDIO_HARDWARE_MODULE_ID_STUB "stub"
#define AUDIO_HARDWARE_MODULE_ID_HEARING_AID "hearing_aid"

#define AUDIO_HAL_SERVICE_NAME_MSD "msd" /* the service that decodes for a television */

/* Who a unique id was given to: its lowest bits. */
typedef enum CORVEX_ENUM_BASE(int) {
    AUDIO_UNIQUE_ID_USE_UNSPECIFIED = 0,
    AUDIO_UNIQUE_ID_USE_SESSION = 1,
    AUDIO_UNIQUE_ID_USE_MODULE = 2,
    AUDIO_UNIQUE_ID_USE_EFFECT = 3,
    AUDIO_UNIQUE_ID_USE_PATCH = 4,
    AUDIO_UNIQUE_ID_USE_OUTPUT = 5,
    AUDIO_UNIQUE_ID_USE_INPUT = 6,
    AUDIO_UNIQUE_ID_USE_PLAYER = 7,
    AUDIO_UNIQUE_ID_USE_MAX = 8, /* a power of two */
    AUDIO_UNIQUE_ID_USE_MASK = AUDIO_UNIQUE_ID_USE_MAX - 1,
} audio_unique_id_use_t;

#define AUDIO_UNIQUE_ID_ALLOCATE AUDIO_SESSION_ALLOCATE

static inline audio_unique_id_use_t audio_unique_id_get_use(audio_unique_id_t id) {
    return CORVEX_CAST(audio_unique_id_use_t, id & AUDIO_UNIQUE_ID_USE_MASK);
}

/* Bits of audio_flags_mask_t: what an application asks of a stream. */
enum {
    AUDIO_FLAG_NONE = 0x0,
    AUDIO_FLAG_AUDIBILITY_ENFORCED = 0x1,
    AUDIO_FLAG_SECURE = 0x2,
    AUDIO_FLAG_SCO = 0x4,
    AUDIO_FLAG_BEACON = 0x8,
    AUDIO_FLAG_HW_AV_SYNC = 0x10,
    AUDIO_FLAG_HW_HOTWORD = 0x20,
    AUDIO_FLAG_BYPASS_INTERRUPTION_POLICY = 0x40,
    AUDIO_FLAG_BYPASS_MUTE = 0x80,
    AUDIO_FLAG_LOW_LATENCY = 0x100,
    AUDIO_FLAG_DEEP_BUFFER = 0x200,
};

#define AUDIO_ATTRIBUTES_TAGS_MAX_SIZE 256

typedef struct {
    audio_content_type_t content_type;
    audio_usage_t usage;
    audio_source_t source;
    audio_flags_mask_t flags;
    char tags[AUDIO_ATTRIBUTES_TAGS_MAX_SIZE]; /* UTF-8 */
} __attribute__((packed)) audio_attributes_t;

typedef enum CORVEX_ENUM_BASE(int) {
    AUDIO_IN_ACOUSTICS_NONE = 0,
    AUDIO_IN_ACOUSTICS_AGC_ENABLE = 0x1,
    AUDIO_IN_ACOUSTICS_AGC_DISABLE = 0,
    AUDIO_IN_ACOUSTICS_NS_ENABLE = 0x2,
    AUDIO_IN_ACOUSTICS_NS_DISABLE = 0,
    AUDIO_IN_ACOUSTICS_TX_IIR_ENABLE = 0x4,
    AUDIO_IN_ACOUSTICS_TX_DISABLE = 0,
} audio_in_acoustics_t;

#define AUDIO_MAKE_OFFLOAD_INFO_VERSION(maj, min) ((((maj)&0xff) << 8) | ((min)&0xff))
#define AUDIO_OFFLOAD_INFO_VERSION_0_1 AUDIO_MAKE_OFFLOAD_INFO_VERSION(0, 1)
#define AUDIO_OFFLOAD_INFO_VERSION_CURRENT AUDIO_OFFLOAD_INFO_VERSION_0_1

typedef struct {
    uint16_t version; /* AUDIO_OFFLOAD_INFO_VERSION_* */
    uint16_t size;    /* of this structure, in bytes */
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    audio_stream_type_t stream_type;
    uint32_t bit_rate;   /* bits a second */
    int64_t duration_us; /* -1: not known */
    bool has_video;
    bool is_streaming;
    uint32_t bit_width;
    uint32_t offload_buffer_size; /* bytes */
    audio_usage_t usage;
} __attribute__((aligned(8))) audio_offload_info_t; /* aligned alike on every processor */

struct audio_config {
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    audio_offload_info_t offload_info;
    uint32_t frame_count;
};
typedef struct audio_config audio_config_t;

struct audio_config_base {
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
};
typedef struct audio_config_base audio_config_base_t;

static const audio_config_base_t AUDIO_CONFIG_BASE_INITIALIZER = {
    /* .sample_rate = */ 0,
    /* .channel_mask = */ AUDIO_CHANNEL_NONE,
    /* .format = */ AUDIO_FORMAT_DEFAULT,
};

static const audio_offload_info_t AUDIO_INFO_INITIALIZER = {
    /* .version = */ AUDIO_OFFLOAD_INFO_VERSION_CURRENT,
    /* .size = */ sizeof(audio_offload_info_t),
    /* .sample_rate = */ 0,
    /* .channel_mask = */ 0,
    /* .format = */ AUDIO_FORMAT_DEFAULT,
    /* .stream_type = */ AUDIO_STREAM_VOICE_CALL,
    /* .bit_rate = */ 0,
    /* .duration_us = */ 0,
    /* .has_video = */ false,
    /* .is_streaming = */ false,
    /* .bit_width = */ 16,
    /* .offload_buffer_size = */ 0,
    /* .usage = */ AUDIO_USAGE_UNKNOWN,
};

static const audio_config_t AUDIO_CONFIG_INITIALIZER = {
    /* .sample_rate = */ 0,
    /* .channel_mask = */ AUDIO_CHANNEL_NONE,
    /* .format = */ AUDIO_FORMAT_DEFAULT,
    /* .offload_info = */
    {AUDIO_OFFLOAD_INFO_VERSION_CURRENT, sizeof(audio_offload_info_t), 0, 0, AUDIO_FORMAT_DEFAULT,
     AUDIO_STREAM_VOICE_CALL, 0, 0, false, false, 16, 0, AUDIO_USAGE_UNKNOWN},
    /* .frame_count = */ 0,
};

/* A buffer that the module and the framework share. */
struct audio_mmap_buffer_info {
    void* shared_memory_address;
    int32_t shared_memory_fd;
    int32_t buffer_size_frames; /* negative: the framework must not use the descriptor */
    int32_t burst_size_frames;
};

struct audio_mmap_position {
    int64_t time_nanoseconds; /* CLOCK_MONOTONIC */
    int32_t position_frames;  /* wraps */
};

typedef struct playback_track_metadata {
    audio_usage_t usage;
    audio_content_type_t content_type;
    float gain; /* linear, 1 is full scale */
} playback_track_metadata_t;

typedef struct record_track_metadata {
    audio_source_t source;
    float gain; /* linear, 1 is full scale */
} record_track_metadata_t;

/* Gains of ports, in millibels. */
struct audio_gain {
    audio_gain_mode_t mode;
    audio_channel_mask_t channel_mask;
    int min_value;
    int max_value;
    int default_value;
    unsigned int step_value;
    unsigned int min_ramp_ms;
    unsigned int max_ramp_ms;
};

struct audio_gain_config {
    int index;
    audio_gain_mode_t mode;
    audio_channel_mask_t channel_mask;
    int values[sizeof(audio_channel_mask_t) * 8];
    unsigned int ramp_duration_ms;
};

/* What a port is set to, and a port with all it can do; `ext` is selected by `type`. */
struct audio_port_config_device_ext {
    audio_module_handle_t hw_module;
    audio_devices_t type;
    char address[AUDIO_DEVICE_MAX_ADDRESS_LEN];
};

struct audio_port_config_mix_ext {
    audio_module_handle_t hw_module;
    audio_io_handle_t handle;
    union {
        audio_stream_type_t stream;
        audio_source_t source;
    } usecase;
};

struct audio_port_config_session_ext {
    audio_session_t session;
};

struct audio_port_config {
    audio_port_handle_t id;
    audio_port_role_t role;
    audio_port_type_t type;
    unsigned int config_mask; /* AUDIO_PORT_CONFIG_* */
    unsigned int sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    struct audio_gain_config gain;
    union {
        struct audio_port_config_device_ext device;
        struct audio_port_config_mix_ext mix;
        struct audio_port_config_session_ext session;
    } ext;
};

struct audio_port_device_ext {
    audio_module_handle_t hw_module;
    audio_devices_t type;
    char address[AUDIO_DEVICE_MAX_ADDRESS_LEN];
};

struct audio_port_mix_ext {
    audio_module_handle_t hw_module;
    audio_io_handle_t handle;
    audio_mix_latency_class_t latency_class;
};

struct audio_port_session_ext {
    audio_session_t session;
};

struct audio_port {
    audio_port_handle_t id;
    audio_port_role_t role;
    audio_port_type_t type;
    char name[AUDIO_PORT_MAX_NAME_LEN];
    unsigned int num_sample_rates;
    unsigned int sample_rates[AUDIO_PORT_MAX_SAMPLING_RATES];
    unsigned int num_channel_masks;
    audio_channel_mask_t channel_masks[AUDIO_PORT_MAX_CHANNEL_MASKS];
    unsigned int num_formats;
    audio_format_t formats[AUDIO_PORT_MAX_FORMATS];
    unsigned int num_gains;
    struct audio_gain gains[AUDIO_PORT_MAX_GAINS];
    struct audio_port_config active_config;
    union {
        struct audio_port_device_ext device;
        struct audio_port_mix_ext mix;
        struct audio_port_session_ext session;
    } ext;
};

#define AUDIO_PATCH_PORTS_MAX 16

/* A connection that the framework made between ports. */
struct audio_patch {
    audio_patch_handle_t id;
    unsigned int num_sources;
    struct audio_port_config sources[AUDIO_PATCH_PORTS_MAX];
    unsigned int num_sinks;
    struct audio_port_config sinks[AUDIO_PATCH_PORTS_MAX];
};

struct audio_microphone_coordinate {
    float x; /* metres, or the parts of a direction */
    float y;
    float z;
};

/* A microphone as applications see it. */
struct audio_microphone_characteristic_t {
    char device_id[AUDIO_MICROPHONE_ID_MAX_LEN];
    audio_port_handle_t id;
    audio_devices_t device;
    char address[AUDIO_DEVICE_MAX_ADDRESS_LEN];
    audio_microphone_channel_mapping_t channel_mapping[AUDIO_CHANNEL_COUNT_MAX];
    audio_microphone_location_t location;
    audio_microphone_group_t group;
    unsigned int index_in_the_group;
    float sensitivity; /* dB full scale at 94 dB SPL, 1 kHz */
    float max_spl;     /* dB */
    float min_spl;     /* dB */
    audio_microphone_directionality_t directionality;
    unsigned int num_frequency_responses;
    /* [0]: frequencies in Hz, [1]: responses in dB */
    float frequency_responses[2][AUDIO_MICROPHONE_MAX_FREQUENCY_RESPONSES];
    struct audio_microphone_coordinate geometric_location;
    struct audio_microphone_coordinate orientation;
};

__END_DECLS

#endif
