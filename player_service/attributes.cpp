#include "player_service/attributes.h"

#include <cstring>

namespace player_service {

using namespace android;

namespace {

constexpr uint32_t kMaxVolumePercent = 100;
constexpr uint32_t kMaxTrackBufferMs = 1000;
constexpr zu_track_attr kDefaultTrack = {{0, 0, 0, 0}, 100, 40};

// Records of other lengths come from clients with other headers.
template <typename Record>
int32_t give(const Record& from, void* record, uint32_t length) {
    if (record == nullptr || length != sizeof from) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    std::memcpy(record, &from, sizeof from);
    return 0;
}

// The record, where `is_valid` says so of it.
template <typename Record, typename Check>
int32_t take(Record& to, const void* record, uint32_t length, Check is_valid) {
    Record given;
    if (record == nullptr || length != sizeof given) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    std::memcpy(&given, record, sizeof given);
    if (!is_valid(given)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    to = given;
    return 0;
}

bool is_stream_mode(const zu_stream_mode_attr& mode) {
    return mode.audio_buffer_bytes >= kMinAudioBufferBytes &&
           mode.audio_buffer_bytes <= kMaxAudioBufferBytes;
}

bool is_sync(const zu_sync_attr& sync) {
    return sync.sync_reference <= 1 && sync.sync_start <= 1;
}

bool is_track(const zu_track_attr& track) {
    return track.volume <= kMaxVolumePercent && track.buffer_ms <= kMaxTrackBufferMs;
}

}  // namespace

int32_t get_attribute(const player_attributes& attributes, int id, void* record, uint32_t length) {
    switch (id) {
        case ZU_ATTR_STREAM_MODE:
            return give(attributes.stream_mode, record, length);
        case ZU_ATTR_SYNC:
            return give(attributes.sync, record, length);
        default:
            return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
}

int32_t set_attribute(player_attributes& attributes, int id, const void* record, uint32_t length) {
    switch (id) {
        case ZU_ATTR_STREAM_MODE:
            return take(attributes.stream_mode, record, length, is_stream_mode);
        case ZU_ATTR_SYNC:
            return take(attributes.sync, record, length, is_sync);
        default:
            return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
}

int32_t get_default_config(int type, void* record, uint32_t length) {
    if (type != ZU_CONFIG_PLAYER) {
        return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
    return give(zu_player_config{}, record, length);
}

int32_t check_config(const void* record, uint32_t length) {
    zu_player_config config;
    return take(config, record, length, [](const zu_player_config&) { return true; });
}

int32_t get_default_track(uint32_t type, void* record, uint32_t length) {
    if (type != ZU_TRACK_MASTER) {
        return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
    return give(kDefaultTrack, record, length);
}

int32_t check_track(const void* record, uint32_t length) {
    zu_track_attr track;
    return take(track, record, length, is_track);
}

}  // namespace player_service
