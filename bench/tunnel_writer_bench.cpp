// What it costs to take a tunnel stream apart and hand it over, into a player that does nothing
// with it, beside copying the same payload chunk by chunk.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/tunnel_writer.h"
#include "records/stream_out.h"

namespace {

constexpr size_t stream_bytes = 1 << 20;
constexpr size_t chunk_bytes = 1024;

uint8_t block[8192];
std::string* kept = nullptr;  // of the run that checks
uint64_t handed_over = 0;

// The frames of a stream with their headers, cut at random into writes that are `most` long at
// most.
struct cut_stream {
    std::string bytes;
    std::string payload;
    std::vector<uint32_t> writes;
};

cut_stream make_stream(size_t payload_bytes, uint32_t most) {
    std::mt19937 random(1);
    cut_stream stream;
    while (stream.bytes.size() < stream_bytes) {
        std::string payload(payload_bytes, '\0');
        for (char& byte : payload) {
            byte = static_cast<char>(random());
        }
        const char header[16] = {0x55,
                                 0x55,
                                 0,
                                 1,
                                 0,
                                 0,
                                 static_cast<char>(payload_bytes >> 8),
                                 static_cast<char>(payload_bytes)};
        stream.bytes.append(header, sizeof(header)).append(payload);
        stream.payload += payload;
    }
    for (size_t left = stream.bytes.size(); left > 0;) {
        const uint32_t length = static_cast<uint32_t>(std::min<size_t>(left, 1 + random() % most));
        stream.writes.push_back(length);
        left -= length;
    }
    return stream;
}

void write(struct avplay_session* session, const cut_stream& stream) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(stream.bytes.data());
    for (const uint32_t length : stream.writes) {
        hal_avplay_write(session, bytes, length);
        bytes += length;
    }
}

void check(bool holds, benchmark::State& state) {
    if (!holds) {
        state.SkipWithError("what arrived is not what was sent");
    }
}

void tunnel_writer(benchmark::State& state) {
    const cut_stream stream =
        make_stream(static_cast<size_t>(state.range(0)), static_cast<uint32_t>(state.range(1)));
    if (hal_avplay_initAvplayer() != 0) {
        state.SkipWithError("no player");
    }
    hal_stream_out out = {};
    out.config.channels = 2;
    const auto session = std::make_unique<avplay_session>();
    session->usecase = USECASE_DIRECT_HWSYNC;
    session->state = AVPLAY_STATE_RUNNING;
    session->stream = &out;

    std::string arrived;
    kept = &arrived;
    write(session.get(), stream);
    kept = nullptr;
    check(arrived == stream.payload, state);
    handed_over = 0;
    for (auto each : state) {
        write(session.get(), stream);
    }
    check(handed_over == stream.payload.size() * static_cast<uint64_t>(state.iterations()), state);
    state.SetBytesProcessed(static_cast<int64_t>(handed_over));
    hal_avplay_deinitAvplayer();
}

void copy_alone(benchmark::State& state) {
    const cut_stream stream = make_stream(static_cast<size_t>(state.range(0)), chunk_bytes);
    for (auto each : state) {
        for (size_t at = 0; at < stream.payload.size(); at += chunk_bytes) {
            std::memcpy(block, stream.payload.data() + at,
                        std::min(chunk_bytes, stream.payload.size() - at));
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(stream.payload.size() * state.iterations()));
}

}  // namespace

// The player that does nothing, in place of the player client.
extern "C" {
int32_t __wrap_ZUAVPLAYER_Open(void** handle) {
    *handle = block;
    return 0;
}
int32_t __wrap_ZUAVPLAYER_Close(void* /*handle*/) {
    return 0;
}
int32_t __wrap_ZUAVPLAYER_SYS_Init(void* /*handle*/) {
    return 0;
}
int32_t __wrap_ZUAVPLAYER_Init(void* /*handle*/) {
    return 0;
}
int32_t __wrap_ZUAVPLAYER_DeInit(void* /*handle*/) {
    return 0;
}
int32_t __wrap_ZUAVPLAYER_RegisterAcodecLib(void* /*handle*/, const char* /*library*/) {
    return 0;
}
void* __wrap_ZUAVPLAYER_GetCblk(void* handle) {
    return handle;
}
int32_t __wrap_ZUAVPLAYER_GetBuf(void* /*handle*/, uint32_t /*player*/, int /*buffer*/,
                                 uint32_t /*requested_bytes*/, uint32_t /*value*/) {
    return 0;
}
int32_t __wrap_ZUAVPLAYER_PutBufEx(void* /*handle*/, uint32_t /*player*/, int /*buffer*/,
                                   uint32_t valid_bytes, uint32_t /*pts_ms*/) {
    handed_over += valid_bytes;
    if (kept != nullptr) {
        kept->append(reinterpret_cast<const char*>(block), valid_bytes);
    }
    return 0;
}
}

// Payload bytes a frame; for the writer, the longest write too: the stream's buffer, or so short
// that most writes begin or end within a header.
BENCHMARK(tunnel_writer)->ArgsProduct({{128, 1024, 4096}, {64, 4096}});
BENCHMARK(copy_alone)->Arg(128)->Arg(1024)->Arg(4096);

BENCHMARK_MAIN();
