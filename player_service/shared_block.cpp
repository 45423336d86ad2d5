#include "player_service/shared_block.h"

#include <algorithm>

namespace player_service {

shared_block::shared_block(const android::sp<android::IMemory>& memory) {
    if (memory == nullptr) {
        return;
    }
    const void* start = memory->pointer();
    if (start == nullptr) {
        return;
    }
    memory_ = memory;
    bytes_ = static_cast<const uint8_t*>(start);
    size_bytes_ = memory->size();
}

std::vector<uint8_t> shared_block::copy(size_t bytes) const {
    const size_t count = std::min(bytes, size_bytes_);
    return {bytes_, bytes_ + count};
}

}  // namespace player_service
