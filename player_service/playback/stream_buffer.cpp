#include "player_service/playback/stream_buffer.h"

namespace player_service {

bool stream_buffer::reserve(uint32_t bytes) {
    reserved_bytes_ = 0;
    if (held_bytes() > capacity_bytes_ || bytes > capacity_bytes_ - held_bytes()) {
        return false;
    }
    reserved_bytes_ = bytes;
    return true;
}

bool stream_buffer::put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms) {
    if (count > reserved_bytes_) {
        return false;
    }
    reserved_bytes_ = 0;
    if (count > 0) {
        const mark chunk = {count, pts_ms};
        bytes_.push(bytes, count);
        chunks_.push(&chunk, 1);
    }
    return true;
}

bool stream_buffer::take(stream_chunk& chunk) {
    if (chunks_.size() == 0) {
        return false;
    }
    mark next = {};
    chunks_.pop(&next, 1);
    chunk.bytes.resize(next.bytes);
    bytes_.pop(chunk.bytes.data(), next.bytes);
    chunk.pts_ms = next.pts_ms;
    return true;
}

}  // namespace player_service
