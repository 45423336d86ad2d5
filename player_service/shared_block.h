// The memory that a client shares, through which its stream data comes. Not for several threads at
// once.
#pragma once

#include <cstddef>
#include <cstdint>

#include <binder/IMemory.h>

namespace player_service {

class shared_block {
  public:
    // May call the client's process, to have the memory mapped. No block for an empty reference or
    // for memory that cannot be mapped.
    explicit shared_block(const android::sp<android::IMemory>& memory = nullptr);

    size_t size_bytes() const { return size_bytes_; }
    // The client may change them at any time: what counts is read once. Null without a block.
    const uint8_t* bytes() const { return bytes_; }

  private:
    android::sp<android::IMemory> memory_;  // keeps the mapping
    const uint8_t* bytes_ = nullptr;
    size_t size_bytes_ = 0;
};

}  // namespace player_service
