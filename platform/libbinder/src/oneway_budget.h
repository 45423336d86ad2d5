// How much one-way calls are under way between two processes. Both sides count: the sender refuses
// what is too much, and the receiver holds it to that.
#pragma once

#include <atomic>
#include <cstdint>

#include "wire.h"

namespace corvex_binder {

class oneway_budget {
  public:
    // Ours, until the other side has served them.
    bool send(uint64_t cost) { return add(sent_, cost); }
    // False where so much was not under way.
    bool sent_is_done(uint64_t cost) { return subtract(sent_, cost); }
    bool has_sent() const { return sent_ > 0; }

    // The other side's, until we have served them.
    bool receive(uint64_t cost) { return add(received_, cost); }
    void received_is_done(uint64_t cost) { subtract(received_, cost); }

    // Whether to say that calls are refused: once until some are served.
    bool complains() { return !has_complained_.exchange(true); }

  private:
    static bool add(std::atomic<uint64_t>& sum, uint64_t cost) {
        uint64_t now = sum;
        do {
            if (now + cost > kMaxOnewayCost) {
                return false;
            }
        } while (!sum.compare_exchange_weak(now, now + cost));
        return true;
    }
    bool subtract(std::atomic<uint64_t>& sum, uint64_t cost) {
        uint64_t now = sum;
        do {
            if (cost > now) {
                return false;
            }
        } while (!sum.compare_exchange_weak(now, now - cost));
        has_complained_ = false;
        return true;
    }

    std::atomic<uint64_t> sent_{0};
    std::atomic<uint64_t> received_{0};
    std::atomic<bool> has_complained_{false};
};

}  // namespace corvex_binder
