// The memory that a client shares, through which its stream data comes. Not for several threads at
// once.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <binder/IMemory.h>

namespace player_service {

class shared_block {
  public:
    // May call the client's process, to have the memory mapped. No block for an empty reference or
    // for memory that cannot be mapped.
    explicit shared_block(const android::sp<android::IMemory>& memory = nullptr);

    size_t size_bytes() const { return size_bytes_; }
    // The first bytes, copied once: the client may change them meanwhile. `bytes` is at most the
    // size.
    std::vector<uint8_t> copy(size_t bytes) const;

  private:
    android::sp<android::IMemory> memory_;  // keeps the mapping
    const uint8_t* bytes_ = nullptr;
    size_t size_bytes_ = 0;
};

}  // namespace player_service
