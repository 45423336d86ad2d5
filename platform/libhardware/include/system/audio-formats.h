/*
 * Questions about sample and stream formats.
 */
#ifndef CORVEX_SYSTEM_AUDIO_FORMATS_H
#define CORVEX_SYSTEM_AUDIO_FORMATS_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include <system/audio-base.h>

__BEGIN_DECLS

static inline audio_format_t audio_get_main_format(audio_format_t format) {
    return CORVEX_CAST(audio_format_t, format & AUDIO_FORMAT_MAIN_MASK);
}

static inline bool audio_is_linear_pcm(audio_format_t format) {
    return audio_get_main_format(format) == AUDIO_FORMAT_PCM;
}

/* Whether it is a format that this header names; of other formats than PCM the main one is enough.
 */
static inline bool audio_is_valid_format(audio_format_t format) {
    switch (format & AUDIO_FORMAT_MAIN_MASK) {
        case AUDIO_FORMAT_PCM:
            return AUDIO_FORMAT_PCM_16_BIT <= format && format <= AUDIO_FORMAT_PCM_24_BIT_PACKED;
        case AUDIO_FORMAT_MP3:
        case AUDIO_FORMAT_AMR_NB:
        case AUDIO_FORMAT_AMR_WB:
        case AUDIO_FORMAT_AAC:
        case AUDIO_FORMAT_HE_AAC_V1:
        case AUDIO_FORMAT_HE_AAC_V2:
        case AUDIO_FORMAT_VORBIS:
        case AUDIO_FORMAT_OPUS:
        case AUDIO_FORMAT_AC3:
        case AUDIO_FORMAT_E_AC3:
        case AUDIO_FORMAT_DTS:
        case AUDIO_FORMAT_DTS_HD:
        case AUDIO_FORMAT_IEC61937:
        case AUDIO_FORMAT_DOLBY_TRUEHD:
        case AUDIO_FORMAT_EVRC:
        case AUDIO_FORMAT_EVRCB:
        case AUDIO_FORMAT_EVRCWB:
        case AUDIO_FORMAT_EVRCNW:
        case AUDIO_FORMAT_AAC_ADIF:
        case AUDIO_FORMAT_WMA:
        case AUDIO_FORMAT_WMA_PRO:
        case AUDIO_FORMAT_AMR_WB_PLUS:
        case AUDIO_FORMAT_MP2:
        case AUDIO_FORMAT_QCELP:
        case AUDIO_FORMAT_DSD:
        case AUDIO_FORMAT_FLAC:
        case AUDIO_FORMAT_ALAC:
        case AUDIO_FORMAT_APE:
        case AUDIO_FORMAT_AAC_ADTS:
        case AUDIO_FORMAT_SBC:
        case AUDIO_FORMAT_APTX:
        case AUDIO_FORMAT_APTX_HD:
        case AUDIO_FORMAT_AC4:
        case AUDIO_FORMAT_LDAC:
        case AUDIO_FORMAT_MAT:
            return true;
        default:
            return false;
    }
}

/* Whether a frame always takes the same number of bytes. */
static inline bool audio_has_proportional_frames(audio_format_t format) {
    return audio_is_linear_pcm(format) || audio_get_main_format(format) == AUDIO_FORMAT_IEC61937;
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

/* Bytes of one frame; 0 for a format without such a size. The count is one that a mask can have. */
static inline size_t audio_bytes_per_frame(uint32_t channel_count, audio_format_t format) {
    return channel_count * audio_bytes_per_sample(format);
}

__END_DECLS

#endif
