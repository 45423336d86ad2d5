// Frames sent against frames decoded, over flushes: what a flush drops was sent and is never
// decoded. A player may count on over a flush or begin again at 0.
#pragma once

#include <cstdint>

class frame_ledger {
  public:
    void send(uint64_t frames) { sent_ += frames; }

    // A flush, with the player's count before it and after it.
    void flush(uint64_t count_before, uint64_t count_after);

    // With the player's count now.
    uint64_t decoded(uint64_t count) const { return decoded_ + since_flush(count); }

    uint64_t sent() const { return sent_ + sent_before_flush_; }
    uint64_t flushed() const { return flushed_; }

    // What shall still be decoded; negative when more came out than went in.
    int64_t missing(uint64_t count) const {
        return static_cast<int64_t>(sent_) - static_cast<int64_t>(since_flush(count));
    }
    // Frames that came out of a part without having gone in, at some flush.
    uint64_t surplus() const { return surplus_; }

  private:
    uint64_t since_flush(uint64_t count) const { return count >= base_ ? count - base_ : count; }

    uint64_t sent_ = 0;  // since the last flush
    uint64_t base_ = 0;  // the player's count at the last flush
    uint64_t sent_before_flush_ = 0;
    uint64_t decoded_ = 0;  // before the last flush
    uint64_t flushed_ = 0;
    uint64_t surplus_ = 0;
};
