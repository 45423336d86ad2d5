#include "player_service/playback/stream_buffer.h"

#include <utility>

namespace player_service {

bool stream_buffer::reserve(uint32_t bytes) {
    reserved_bytes_ = 0;
    if (held_bytes_ > capacity_bytes_ || bytes > capacity_bytes_ - held_bytes_) {
        return false;
    }
    reserved_bytes_ = bytes;
    return true;
}

bool stream_buffer::put(stream_chunk chunk) {
    if (chunk.bytes.size() > reserved_bytes_) {
        return false;
    }
    reserved_bytes_ = 0;
    if (!chunk.bytes.empty()) {
        held_bytes_ += static_cast<uint32_t>(chunk.bytes.size());
        chunks_.push_back(std::move(chunk));
    }
    return true;
}

std::optional<stream_chunk> stream_buffer::take() {
    if (chunks_.empty()) {
        return std::nullopt;
    }
    std::optional<stream_chunk> chunk(std::move(chunks_.front()));
    chunks_.pop_front();
    held_bytes_ -= static_cast<uint32_t>(chunk->bytes.size());
    return chunk;
}

}  // namespace player_service
