// Puts the frames of a byte stream together again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "unique_fd.h"
#include "wire.h"

namespace corvex_binder {

// The payload is valid until the reader is next fed.
struct incoming_frame {
    uint16_t type = 0;
    const uint8_t* payload = nullptr;
    size_t payload_bytes = 0;
    std::vector<unique_fd> descriptors;
};

class frame_reader {
  public:
    enum class result { frame, need_more, broken };

    // What was received at once. Of a descriptor we know only that it came with one of these bytes.
    void feed(const uint8_t* bytes, size_t size, std::vector<unique_fd>&& descriptors);
    // The next frame, if all of it is there. Broken is for good: no frame's end can be found.
    result next(incoming_frame* frame);

  private:
    std::vector<uint8_t> bytes_;
    size_t taken_ = 0;  // of bytes_
    std::deque<unique_fd> descriptors_;
};

}  // namespace corvex_binder
