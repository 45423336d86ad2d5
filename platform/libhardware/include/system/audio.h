/*
 * Audio structures that the framework and the audio module share, and small questions about
 * formats, channel masks and devices. Layouts and names are Android 9's. Everything here is plain
 * data: no ownership, any thread.
 */
#ifndef CORVEX_SYSTEM_AUDIO_H
#define CORVEX_SYSTEM_AUDIO_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>
#include <sys/types.h>

#include <system/audio-base.h>

__BEGIN_DECLS

typedef uint32_t audio_channel_mask_t;
typedef uint32_t audio_devices_t;
typedef uint32_t audio_gain_mode_t;
typedef int audio_io_handle_t;
typedef int audio_module_handle_t;
typedef int audio_port_handle_t;
typedef int audio_patch_handle_t;
typedef int audio_microphone_group_t;

/* Handles that name nothing. */
enum {
    AUDIO_IO_HANDLE_NONE = 0,
    AUDIO_MODULE_HANDLE_NONE = 0,
    AUDIO_PORT_HANDLE_NONE = 0,
    AUDIO_PATCH_HANDLE_NONE = 0,
};

#define AUDIO_DEVICE_MAX_ADDRESS_LEN 32
#define AUDIO_MICROPHONE_ID_MAX_LEN 32
#define AUDIO_MICROPHONE_MAX_FREQUENCY_RESPONSES 256
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
} audio_offload_info_t;

struct audio_config {
    uint32_t sample_rate;
    audio_channel_mask_t channel_mask;
    audio_format_t format;
    audio_offload_info_t offload_info;
    uint32_t frame_count;
};
typedef struct audio_config audio_config_t;

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

/* How a channel mask is read: AUDIO_CHANNEL_REPRESENTATION_*, or another value for no valid mask.
 */
static inline uint32_t audio_channel_mask_get_representation(audio_channel_mask_t channel) {
    return channel >> AUDIO_CHANNEL_COUNT_MAX;
}

static inline uint32_t audio_channel_mask_get_bits(audio_channel_mask_t channel) {
    return channel & ((1u << AUDIO_CHANNEL_COUNT_MAX) - 1u);
}

/* Channels of a mask; 0 when it is not valid. Position bits the platform does not know are ignored.
 */
static inline uint32_t audio_channel_count_from_mask(audio_channel_mask_t channel, uint32_t known) {
    uint32_t bits = audio_channel_mask_get_bits(channel);
    switch (audio_channel_mask_get_representation(channel)) {
        case AUDIO_CHANNEL_REPRESENTATION_POSITION:
            bits &= known;
            break;
        case AUDIO_CHANNEL_REPRESENTATION_INDEX:
            break;
        default:
            bits = 0;
            break;
    }
    uint32_t count = 0;
    for (; bits != 0; bits &= bits - 1) {
        count++;
    }
    return count;
}

static inline uint32_t audio_channel_count_from_out_mask(audio_channel_mask_t channel) {
    return audio_channel_count_from_mask(channel, AUDIO_CHANNEL_OUT_ALL);
}

static inline uint32_t audio_channel_count_from_in_mask(audio_channel_mask_t channel) {
    return audio_channel_count_from_mask(channel, AUDIO_CHANNEL_IN_ALL);
}

static inline bool audio_is_linear_pcm(audio_format_t format) {
    return (format & AUDIO_FORMAT_MAIN_MASK) == AUDIO_FORMAT_PCM;
}

/* Whether a frame always takes the same number of bytes. */
static inline bool audio_has_proportional_frames(audio_format_t format) {
    return audio_is_linear_pcm(format) ||
           (format & AUDIO_FORMAT_MAIN_MASK) == AUDIO_FORMAT_IEC61937;
}

/* Bytes of one sample of one channel; 0 for a format without such a size. */
static inline size_t audio_bytes_per_sample(audio_format_t format) {
    switch (format) {
        case AUDIO_FORMAT_PCM_8_BIT:
            return 1;
        case AUDIO_FORMAT_PCM_16_BIT:
        case AUDIO_FORMAT_IEC61937:
            return 2;
        case AUDIO_FORMAT_PCM_24_BIT_PACKED:
            return 3;
        case AUDIO_FORMAT_PCM_32_BIT:
        case AUDIO_FORMAT_PCM_8_24_BIT:
        case AUDIO_FORMAT_PCM_FLOAT:
            return 4;
        default:
            return 0;
    }
}

/* Whether `device` is exactly one known device of that direction. */
static inline bool audio_is_output_device(audio_devices_t device) {
    const audio_devices_t known = AUDIO_DEVICE_OUT_ALL;
    return device != 0 && (device & (device - 1)) == 0 && (device & ~known) == 0;
}

static inline bool audio_is_input_device(audio_devices_t device) {
    const audio_devices_t known = AUDIO_DEVICE_IN_ALL;
    const audio_devices_t direction = AUDIO_DEVICE_BIT_IN;
    const audio_devices_t bits = device & ~direction;
    return bits != device && bits != 0 && (bits & (bits - 1)) == 0 && (device & ~known) == 0;
}

__END_DECLS

#endif
