/*
 * Handle of an audio effect, as streams take it. Effects themselves are not part of this library.
 */
#ifndef CORVEX_HARDWARE_AUDIO_EFFECT_H
#define CORVEX_HARDWARE_AUDIO_EFFECT_H

struct effect_interface_s;
typedef struct effect_interface_s** effect_handle_t;

#endif
