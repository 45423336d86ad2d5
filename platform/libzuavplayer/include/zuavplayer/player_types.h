// What a client and the media player service say to each other in plain words: status codes, ids,
// events and the records behind the untyped pointers of IZuAvPlayer. All words are in host order;
// words without a name are the service's and travel back as they were fetched.
#pragma once

#include <cstdint>

namespace android {

// The name under which the service is registered.
constexpr char kZuAvPlayerServiceName[] = "zuavplayer";

// Status codes of the service. As results they are negative: see zu_status.
enum : uint32_t {
    ZU_ERR_INVALID_HANDLE = 0x80140001,  // no such player, track or window of this client
    ZU_ERR_INVALID_ARGUMENT = 0x80140002,
    ZU_ERR_INVALID_STATE = 0x80140003,  // not now: the channel is closed, the output not opened
    ZU_ERR_BUF_FULL = 0x80140004,       // no room for the chunk yet: ask again
    ZU_ERR_NO_RESOURCE = 0x80140005,    // too many players, tracks or windows
    ZU_ERR_NOT_SUPPORTED = 0x80140006,
    ZU_ERR_BUF_NOT_READY = 0x80140007,  // the channel is not started: ask again
    ZU_ERR_NO_BLOCK = 0x80140008,       // no shared block was handed over, or it is too small
    ZU_ERR_BAD_STREAM = 0x80140009,     // an event's: stream data that cannot be decoded
};

// A code as an operation returns it.
constexpr int32_t zu_status(uint32_t code) {
    return static_cast<int32_t>(code);
}

enum : uint32_t { ZU_SND_0 = 0 };                          // the sound output
enum : int { ZU_CHN_VID = 0, ZU_CHN_AUD = 1 };             // a player's channels
enum : int { ZU_BUF_VID = 0, ZU_BUF_AUD = 1 };             // what GetBuf and PutBufEx feed
enum : int { ZU_CONFIG_PLAYER = 1 };                       // GetDefaultConfig
enum : uint32_t { ZU_TRACK_MASTER = 0 };                   // GetTrackDefAttr
enum : int { ZU_ATTR_STREAM_MODE = 0, ZU_ATTR_SYNC = 6 };  // GetAttr, SetAttr
enum : uint32_t {                                          // SetAdecAttr
    ZU_ADEC_PCM = 0x81000000,
    ZU_ADEC_AC3 = 0x81f01010,  // and E-AC-3
};
constexpr uint32_t ZU_PTS_NONE = 0xFFFFFFFF;  // a chunk without a presentation time

// What Create takes.
struct zu_player_config {
    uint32_t words[4];
};

// ZU_ATTR_STREAM_MODE.
struct zu_stream_mode_attr {
    uint32_t words[3];
    uint32_t audio_buffer_bytes;  // room for stream data that is not decoded yet
};

// ZU_ATTR_SYNC.
struct zu_sync_attr {
    uint32_t sync_reference;  // 1: the audio of this player is the clock
    uint32_t words_1[5];
    uint32_t sync_start;  // 1: on
    uint32_t words_2[4];
};

// What CreateTrack takes.
struct zu_track_attr {
    uint32_t words[4];
    uint32_t volume;     // percent
    uint32_t buffer_ms;  // output that a track may hold
};

// What Stop may take: without it a player stops at once.
struct zu_stop_option {
    uint32_t timeout_ms;
    uint32_t mode;
};

// What GetStreamInfo answers, counted since the channel was last started.
struct zu_stream_info {
    uint32_t decoder_type;
    uint32_t channels;  // of the decoded sound; 0 until there is some
    uint32_t rate_hz;
    uint32_t bytes_held;     // stream data that is not decoded yet
    uint32_t frames;         // decoded sound that has gone to the output
    uint32_t units;          // decoded pieces of the stream
    uint32_t damaged_units;  // of which concealed or skipped
    uint32_t timestamps;     // with the sync attribute on, as the rest below
    uint32_t gaps;           // timestamps ahead of the sound
    uint32_t overlaps;       // timestamps behind the sound
    uint32_t reordered;      // timestamps lower than the one before
    int32_t drift_us;        // sound minus timestamps, since the last of the three above
};

static_assert(sizeof(zu_player_config) == 16 && sizeof(zu_stream_mode_attr) == 16 &&
              sizeof(zu_sync_attr) == 44 && sizeof(zu_track_attr) == 24 &&
              sizeof(zu_stop_option) == 8 && sizeof(zu_stream_info) == 48);

// Events: the message of an observer whose source is a player. Their data is one 32-bit word.
enum : int {
    ZU_EVENT_STATE = 1,       // word: 0 stopped, 1 running, 2 paused
    ZU_EVENT_BUFFER_LOW = 2,  // word: bytes held
    ZU_EVENT_FLUSHED = 3,     // word: bytes dropped
    ZU_EVENT_ERROR = 4,       // word: a status code
};

// Messages whose source is the resource manager. Their data is one 32-bit word.
enum : int {
    ZU_RM_EVENT_PLAYERS = 1,  // word: players that exist in the service
};

}  // namespace android
