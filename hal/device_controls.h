// Device-wide controls and parameters. Values are kept and reported, not applied to any output; no
// lock is taken. 0, or -EINVAL for a null pointer, where nothing else is said.
#pragma once

#include <stddef.h>

#include <hardware/audio.h>

int adev_set_voice_volume(struct audio_hw_device* dev, float volume);
int adev_set_master_volume(struct audio_hw_device* dev, float volume);
int adev_get_master_volume(struct audio_hw_device* dev, float* volume);
int adev_set_master_mute(struct audio_hw_device* dev, bool muted);
int adev_get_master_mute(struct audio_hw_device* dev, bool* muted);
int adev_set_mode(struct audio_hw_device* dev, audio_mode_t mode);
int adev_set_mic_mute(struct audio_hw_device* dev, bool state);
int adev_get_mic_mute(const struct audio_hw_device* dev, bool* state);
int adev_dump(const struct audio_hw_device* dev, int fd);

// 4096 bytes for every configuration.
size_t adev_get_input_buffer_size(const struct audio_hw_device* dev,
                                  const struct audio_config* config);

// One microphone. On entry the count is the room in the array; its description is filled in when
// there is room for it. -1 for a null count.
int adev_get_microphones(const struct audio_hw_device* dev,
                         struct audio_microphone_characteristic_t* mics, size_t* count);

// Accepted and ignored.
int adev_set_parameters(struct audio_hw_device* dev, const char* kvpairs);

// Answers "hw_av_sync" with the id of the AV-sync source, which the first query obtains from the
// player service and later ones share. Newly allocated text that the caller frees.
char* adev_get_parameters(const struct audio_hw_device* dev, const char* keys);
