#include "tests/support/fake_player_functions.h"

#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <utility>

namespace {

constexpr uint32_t block_bytes = 8192;

fake_player_functions fake;
std::recursive_mutex fake_mutex;  // for calls; knobs and account are read between them
std::set<void*> open_handles;
std::unique_ptr<uint8_t[]> block;
uint32_t last_player = 0x70;
uint32_t last_track = 0x90;
uint32_t room_given = 0;

// A structure of the caller, to be written as its words.
struct words {
    const void* data;
    uint64_t bytes;
};

std::ostream& operator<<(std::ostream& stream, const words& structure) {
    if (structure.data == nullptr) {
        return stream << "null";
    }
    stream << '{';
    for (uint64_t at = 0; at + 4 <= structure.bytes; at += 4) {
        uint32_t word = 0;
        std::memcpy(&word, static_cast<const uint8_t*>(structure.data) + at, sizeof(word));
        stream << (at > 0 ? " " : "") << word;
    }
    return stream << '}';
}

// A structure that the service gives: a0, a1...
void fill(void* structure, uint64_t bytes) {
    for (uint32_t i = 0; i < bytes / 4; ++i) {
        const uint32_t word = 0xA0 + i;
        std::memcpy(static_cast<uint8_t*>(structure) + uint64_t{i} * 4, &word, sizeof(word));
    }
}

// As every flat function, nothing goes to the service without a handle.
template <typename... Arguments>
int32_t called(void* handle, const std::string& name, const Arguments&... arguments) {
    if (handle == nullptr) {
        return -1;
    }
    const std::lock_guard<std::recursive_mutex> lock(fake_mutex);
    if (open_handles.count(handle) == 0) {
        ++fake.uses_after_close;
    }
    if (name != "GetBuf" && name != "PutBufEx") {
        std::ostringstream line;
        line << std::hex << name;
        ((line << ' ' << arguments), ...);
        fake.calls.push_back(line.str());
    }
    if (fake.in_call) {
        fake.in_call(name);
    }
    const bool fails = fake.failing_call > 0 && --fake.failing_call == 0;
    const int32_t result = fails ? fake.failing_code : fake.results[name];
    fake.failures += result != 0 ? 1 : 0;
    return result;
}

}  // namespace

fake_player_functions& player_service() {
    return fake;
}

void reset_player_service() {
    fake = {};
    open_handles.clear();
    block.reset();
    last_player = 0x70;
    last_track = 0x90;
}

std::vector<std::string> take_calls() {
    return std::exchange(fake.calls, {});
}

std::vector<fake_player_functions::chunk> take_chunks() {
    return std::exchange(fake.chunks, {});
}

std::string payload_of(const std::vector<fake_player_functions::chunk>& chunks) {
    std::string payload;
    for (const auto& chunk : chunks) {
        payload += chunk.bytes;
    }
    return payload;
}

extern "C" {

int32_t __wrap_ZUAVPLAYER_Open(void** handle) {
    auto* const opened = new int;
    open_handles.insert(opened);
    const int32_t result = called(opened, "Open");
    if (result != 0) {
        open_handles.erase(opened);
        delete opened;
        return result;
    }
    ++fake.live_handles;
    *handle = opened;
    return 0;
}
int32_t __wrap_ZUAVPLAYER_Close(void* handle) {
    const int32_t result = called(handle, "Close");
    if (open_handles.erase(handle) > 0) {
        --fake.live_handles;
        delete static_cast<int*>(handle);
    }
    return result;
}
int32_t __wrap_ZUAVPLAYER_SYS_Init(void* handle) {
    return called(handle, "SYS_Init");
}
int32_t __wrap_ZUAVPLAYER_Init(void* handle) {
    block = std::make_unique<uint8_t[]>(block_bytes);
    return called(handle, "Init");
}
int32_t __wrap_ZUAVPLAYER_DeInit(void* handle) {
    block.reset();
    return called(handle, "DeInit");
}
int32_t __wrap_ZUAVPLAYER_RegisterAcodecLib(void* handle, const char* library) {
    return called(handle, "RegisterAcodecLib", library);
}
void* __wrap_ZUAVPLAYER_GetCblk(void* handle) {
    called(handle, "GetCblk");
    return fake.no_block ? nullptr : block.get();
}
int32_t __wrap_ZUAVPLAYER_GetDefaultConfig(void* handle, void* config, int type, uint64_t length) {
    fill(config, length);
    return called(handle, "GetDefaultConfig", type, length);
}
int32_t __wrap_ZUAVPLAYER_Create(void* handle, const void* attributes, uint32_t* player,
                                 uint64_t length) {
    const int32_t result = called(handle, "Create", length, words{attributes, length});
    if (result == 0) {
        *player = ++last_player;
    }
    return result;
}
int32_t __wrap_ZUAVPLAYER_Destroy(void* handle, uint32_t player) {
    return called(handle, "Destroy", player);
}
int32_t __wrap_ZUAVPLAYER_GetAttr(void* handle, uint32_t player, int id, void* attribute,
                                  uint64_t length) {
    fill(attribute, length);
    if (id == 0) {
        std::memcpy(static_cast<uint8_t*>(attribute) + 12, &fake.audio_buffer_bytes, 4);
    }
    return called(handle, "GetAttr", player, id, length);
}
int32_t __wrap_ZUAVPLAYER_SetAttr(void* handle, uint32_t player, int id, const void* attribute,
                                  uint64_t length) {
    return called(handle, "SetAttr", player, id, length, words{attribute, length});
}
int32_t __wrap_ZUAVPLAYER_GetAdecOutFrameInfo(void* handle, uint32_t player, uint32_t* first,
                                              uint32_t* second) {
    *first += fake.position;  // 0 beforehand
    *second += 99;
    return called(handle, "GetAdecOutFrameInfo", player);
}
int32_t __wrap_ZUAVPLAYER_SetAdecOutBufSize(void* handle, uint32_t player, uint32_t size) {
    return called(handle, "SetAdecOutBufSize", player, size);
}
int32_t __wrap_ZUAVPLAYER_ChnOpen(void* handle, uint32_t player, int channel,
                                  const void* parameters, uint64_t length) {
    return called(handle, "ChnOpen", player, channel, words{parameters, length}, length);
}
int32_t __wrap_ZUAVPLAYER_ChnClose(void* handle, uint32_t player, int channel) {
    return called(handle, "ChnClose", player, channel);
}
int32_t __wrap_ZUAVPLAYER_GetBuf(void* handle, uint32_t player, int buffer,
                                 uint32_t requested_bytes, uint32_t value) {
    ++fake.room_requests;
    int32_t result = called(handle, "GetBuf");
    if (handle != nullptr && !fake.room.empty()) {
        result = fake.room.front();
        fake.room.pop_front();
    }
    room_given = result == 0 && player != 0 && buffer == 1 && value == 0 ? requested_bytes : 0;
    return result;
}
int32_t __wrap_ZUAVPLAYER_PutBufEx(void* handle, uint32_t player, int buffer, uint32_t valid_bytes,
                                   uint32_t pts_ms) {
    const int32_t result = called(handle, "PutBufEx");
    if (valid_bytes != std::exchange(room_given, 0U) || valid_bytes == 0 || buffer != 1) {
        ++fake.unroomed_chunks;
    }
    if (block != nullptr && valid_bytes <= block_bytes) {
        const char* const bytes = reinterpret_cast<const char*>(block.get());
        fake.chunks.push_back({player, pts_ms, {bytes, valid_bytes}});
    }
    return result;
}
int32_t __wrap_ZUAVPLAYER_Start(void* handle, uint32_t player, int channel, const void* option,
                                uint64_t length) {
    return called(handle, "Start", player, channel, words{option, length}, length);
}
int32_t __wrap_ZUAVPLAYER_Stop(void* handle, uint32_t player, int channel, const void* option,
                               uint64_t length) {
    return called(handle, "Stop", player, channel, words{option, length}, length);
}
int32_t __wrap_ZUAVPLAYER_Pause(void* handle, uint32_t player, const void* option,
                                uint64_t length) {
    return called(handle, "Pause", player, words{option, length}, length);
}
int32_t __wrap_ZUAVPLAYER_Resume(void* handle, uint32_t player, const void* option,
                                 uint64_t length) {
    return called(handle, "Resume", player, words{option, length}, length);
}
int32_t __wrap_ZUAVPLAYER_SetAdecAttr(void* handle, uint32_t player, uint32_t decoder_type,
                                      uint16_t channels, uint32_t rate_hz, int sample_format) {
    return called(handle, "SetAdecAttr", player, decoder_type, channels, rate_hz, sample_format);
}
int32_t __wrap_ZUAVPLAYER_DetachSnd(void* handle, uint32_t track, uint32_t source) {
    return called(handle, "DetachSnd", track, source);
}
int32_t __wrap_ZUAVPLAYER_AttachSnd(void* handle, uint32_t track, uint32_t source) {
    return called(handle, "AttachSnd", track, source);
}
int32_t __wrap_ZUAVPLAYER_DestroyTrack(void* handle, uint32_t track) {
    return called(handle, "DestroyTrack", track);
}
int32_t __wrap_ZUAVPLAYER_CreateTrack(void* handle, uint32_t sound, const void* attributes,
                                      uint32_t* track, uint64_t length) {
    const int32_t result = called(handle, "CreateTrack", sound, length, words{attributes, length});
    if (result == 0) {
        *track = ++last_track;
    }
    return result;
}
int32_t __wrap_ZUAVPLAYER_GetTrackDefAttr(void* handle, uint32_t type, void* attributes,
                                          uint64_t length) {
    fill(attributes, length);
    return called(handle, "GetTrackDefAttr", type, length);
}
int32_t __wrap_ZUAVPLAYER_SetSndLatency(void* handle, uint32_t sound, uint32_t latency) {
    return called(handle, "SetSndLatency", sound, latency);
}
int32_t __wrap_ZUAVPLAYER_SndInit(void* handle, uint32_t sound) {
    return called(handle, "SndInit", sound);
}
int32_t __wrap_ZUAVPLAYER_SndDeInit(void* handle, uint32_t sound) {
    return called(handle, "SndDeInit", sound);
}

}  // extern "C"
