// Stream data that is not decoded yet: chunks in order, and how many bytes there is room for.
//
// A writer reserves room first and then puts at most what it reserved; there is one reservation at
// a time, and a new one replaces it. Not for several threads at once.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace player_service {

struct stream_chunk {
    std::vector<uint8_t> bytes;
    uint32_t pts_ms = 0;  // of what begins with the first byte; ZU_PTS_NONE for none
};

class stream_buffer {
  public:
    explicit stream_buffer(uint32_t capacity_bytes) : capacity_bytes_(capacity_bytes) {}

    // False while there is no room for so many bytes beside those held.
    bool reserve(uint32_t bytes);
    // False, and nothing is taken, for more than was reserved. Ends the reservation otherwise.
    bool put(stream_chunk chunk);
    std::optional<stream_chunk> take();

    uint32_t held_bytes() const { return held_bytes_; }
    uint32_t capacity_bytes() const { return capacity_bytes_; }
    // What is held stays, also where it is more than the new capacity.
    void set_capacity(uint32_t bytes) { capacity_bytes_ = bytes; }

  private:
    uint32_t capacity_bytes_;
    uint32_t held_bytes_ = 0;
    uint32_t reserved_bytes_ = 0;
    std::deque<stream_chunk> chunks_;
};

}  // namespace player_service
