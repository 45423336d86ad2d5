// What an audio server may write to a tunnel stream. The first byte chooses the channels; then come
// writes, each behind its length in two bytes, and the last one is what is left. A length with its
// top bit set is at most 127, and the write is its bytes 1024 times over.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <android/log.h>

#include "diag/debug_switches.h"
#include "direct/avplay_connection.h"
#include "direct/avplay_session.h"
#include "direct/avplay_session_setup.h"
#include "direct/tunnel_writer.h"
#include "records/stream_out.h"
#include "tests/support/fake_player_functions.h"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// One write, from memory that is exactly as large.
void write(struct avplay_session* session, const uint8_t* bytes, size_t length, size_t times) {
    const size_t size = length * times;
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
    for (size_t i = 0; i < times; ++i) {
        std::memcpy(exact.get() + i * length, bytes, length);
    }
    const uint32_t carried = session->tmp_len;
    require(hal_avplay_write(session, exact.get(), static_cast<uint32_t>(size)) == 0);
    size_t sent = 0;
    for (const auto& chunk : take_chunks()) {
        require(!chunk.bytes.empty() && chunk.bytes.size() <= 1024);
        sent += chunk.bytes.size();
    }
    require(sent <= carried + size);
    require(session->tmp_len <= 48 && (session->tmp_len == 0 || session->raw_data_left == 0));
    require(player_service().unroomed_chunks == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0 || size > (1U << 20)) {
        return 0;
    }
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    gbEnablePts = 1;  // what the log lines show of the input is read all the same
    reset_player_service();
    require(hal_avplay_initAvplayer() == 0);
    hal_device device = {};
    device.hw_sync_id = 7;
    hal_stream_out stream = {};
    stream.dev = &device;
    stream.format = AUDIO_FORMAT_AC3;
    stream.config.channels = bytes[0] % 9;
    const auto session = std::make_unique<avplay_session>();
    session->usecase = USECASE_DIRECT_HWSYNC;
    session->stream = &stream;
    require(hal_avplay_create(session.get()) == 0);
    for (size_t at = 1; at < size;) {
        const size_t left = size - at;
        const size_t skip = std::min<size_t>(left, 2);
        const size_t value = skip < 2 ? 0 : bytes[at] * size_t{256} + bytes[at + 1];
        const bool repeated = value >= 0x8000;
        const size_t length = std::min(repeated ? value & 0x7F : value, left - skip);
        write(session.get(), bytes + at + skip, length, repeated ? 1024 : 1);
        at += skip + length;
    }
    hal_avplay_destoryaudio(session.get());
    require(hal_avplay_deinitAvplayer() == 0);
    return 0;
}
