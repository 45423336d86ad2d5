// Stream data that is not decoded yet: chunks in order, and how many bytes there is room for.
//
// A writer reserves room first and then puts at most what it reserved; there is one reservation at
// a time, and a new one replaces it. Not for several threads at once.
#pragma once

#include <cstdint>
#include <vector>

#include "player_service/playback/ring.h"

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
    // Copies them. False, and nothing is taken, for more than was reserved. Ends the reservation
    // otherwise.
    bool put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms);
    // The next chunk in place of what `chunk` has. False when there is none.
    bool take(stream_chunk& chunk);

    uint32_t held_bytes() const { return static_cast<uint32_t>(bytes_.size()); }
    uint32_t capacity_bytes() const { return capacity_bytes_; }
    // What is held stays, also where it is more than the new capacity.
    void set_capacity(uint32_t bytes) { capacity_bytes_ = bytes; }

  private:
    struct mark {
        uint32_t bytes;
        uint32_t pts_ms;
    };

    uint32_t capacity_bytes_;
    uint32_t reserved_bytes_ = 0;
    ring<uint8_t> bytes_;
    ring<mark> chunks_;  // where bytes_ is cut
};

}  // namespace player_service
