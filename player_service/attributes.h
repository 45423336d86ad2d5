// The records that clients fetch, change and give back: their defaults and bounds.
//
// Lengths have to be those of the records. All functions answer 0 or a status of the service, and
// leave the client's record alone unless they answer 0. Not for several threads at once.
#pragma once

#include <cstdint>

#include <zuavplayer/player_types.h>

namespace player_service {

// Input room of a player. The lower bound is the chunk that clients send.
constexpr uint32_t kMinAudioBufferBytes = 1024;
constexpr uint32_t kDefaultAudioBufferBytes = 16384;
constexpr uint32_t kMaxAudioBufferBytes = 4 * 1024 * 1024;

struct player_attributes {
    android::zu_stream_mode_attr stream_mode = {{0, 0, 0}, kDefaultAudioBufferBytes};
    android::zu_sync_attr sync = {};
};

int32_t get_attribute(const player_attributes& attributes, int id, void* record, uint32_t length);
int32_t set_attribute(player_attributes& attributes, int id, const void* record, uint32_t length);

int32_t get_default_config(int type, void* record, uint32_t length);
int32_t check_config(const void* record, uint32_t length);

int32_t get_default_track(uint32_t type, void* record, uint32_t length);
int32_t check_track(const void* record, uint32_t length);

}  // namespace player_service
