#include "player_service/shared_block.h"

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

}  // namespace player_service
