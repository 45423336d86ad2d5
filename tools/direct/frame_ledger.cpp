#include "tools/direct/frame_ledger.h"

#include <algorithm>

void frame_ledger::flush(uint64_t count_before, uint64_t count_after) {
    // A count that fell began again; one that rose decoded on until the flush.
    const uint64_t part = since_flush(std::max(count_before, count_after));
    flushed_ += sent_ - std::min(sent_, part);
    surplus_ += part - std::min(sent_, part);
    decoded_ += part;
    sent_before_flush_ += sent_;
    sent_ = 0;
    base_ = count_after;
}
