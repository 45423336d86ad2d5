/*
 * Keys and values of set_parameters and get_parameters, "key=value;key=value", with Android 9's
 * names.
 */
#ifndef CORVEX_SYSTEM_AUDIO_PARAMETERS_H
#define CORVEX_SYSTEM_AUDIO_PARAMETERS_H

/* Of a device. */
#define AUDIO_PARAMETER_VALUE_ON "on"
#define AUDIO_PARAMETER_VALUE_OFF "off"
#define AUDIO_PARAMETER_KEY_BT_NREC \
    "bt_headset_nrec" /* echo and noise are the module's to remove */
#define AUDIO_PARAMETER_KEY_SCREEN_STATE "screen_state"
#define AUDIO_PARAMETER_HW_AV_SYNC "hw_av_sync"        /* asks for a new synchronisation id */
#define AUDIO_PARAMETER_MONO_OUTPUT "mono_output"      /* boolean */
#define AUDIO_PARAMETER_DEVICE_CONNECT "connect"       /* audio_devices_t */
#define AUDIO_PARAMETER_DEVICE_DISCONNECT "disconnect" /* audio_devices_t */
#define AUDIO_PARAMETER_RECONFIG_A2DP "reconfigA2dp"
#define AUDIO_PARAMETER_A2DP_RECONFIG_SUPPORTED "isReconfigA2dpSupported"

/* Of a stream. */
#define AUDIO_PARAMETER_STREAM_ROUTING "routing"                 /* audio_devices_t */
#define AUDIO_PARAMETER_STREAM_FORMAT "format"                   /* audio_format_t */
#define AUDIO_PARAMETER_STREAM_CHANNELS "channels"               /* audio_channel_mask_t */
#define AUDIO_PARAMETER_STREAM_FRAME_COUNT "frame_count"         /* frames */
#define AUDIO_PARAMETER_STREAM_INPUT_SOURCE "input_source"       /* audio_source_t */
#define AUDIO_PARAMETER_STREAM_SAMPLING_RATE "sampling_rate"     /* Hz */
#define AUDIO_PARAMETER_STREAM_PRESENTATION_ID "presentation_id" /* of AC-4 */
#define AUDIO_PARAMETER_STREAM_PROGRAM_ID "program_id"           /* of AC-4 */
#define AUDIO_PARAMETER_STREAM_HW_AV_SYNC "hw_av_sync"           /* audio_hw_sync_t */

/* What a stream supports: names of values, with a separator between two. */
#define AUDIO_PARAMETER_STREAM_SUP_FORMATS "sup_formats"
#define AUDIO_PARAMETER_STREAM_SUP_CHANNELS "sup_channels"
#define AUDIO_PARAMETER_STREAM_SUP_SAMPLING_RATES "sup_sampling_rates"
#define AUDIO_PARAMETER_VALUE_LIST_SEPARATOR "|"

/* Of the track that an offloaded stream plays. */
#define AUDIO_OFFLOAD_CODEC_PARAMS "music_offload_codec_param"
#define AUDIO_OFFLOAD_CODEC_BIT_PER_SAMPLE "music_offload_bit_per_sample"
#define AUDIO_OFFLOAD_CODEC_BIT_RATE "music_offload_bit_rate"
#define AUDIO_OFFLOAD_CODEC_AVG_BIT_RATE "music_offload_avg_bit_rate"
#define AUDIO_OFFLOAD_CODEC_ID "music_offload_codec_id"
#define AUDIO_OFFLOAD_CODEC_BLOCK_ALIGN "music_offload_block_align"
#define AUDIO_OFFLOAD_CODEC_SAMPLE_RATE "music_offload_sample_rate"
#define AUDIO_OFFLOAD_CODEC_ENCODE_OPTION "music_offload_encode_option"
#define AUDIO_OFFLOAD_CODEC_NUM_CHANNEL "music_offload_num_channels"
#define AUDIO_OFFLOAD_CODEC_DOWN_SAMPLING "music_offload_down_sampling"
#define AUDIO_OFFLOAD_CODEC_DELAY_SAMPLES "delay_samples"     /* to skip at the start */
#define AUDIO_OFFLOAD_CODEC_PADDING_SAMPLES "padding_samples" /* to skip at the end */

#endif
