// How a parcel's data are packed.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvex_binder {

// What a signed 32-bit count can say, in whole words.
constexpr size_t kMaxParcelBytes = INT32_MAX & ~size_t{3};

// For at most kMaxParcelBytes.
constexpr size_t padded(size_t bytes) {
    return (bytes + 3) & ~size_t{3};
}

// First word of an interface token, beside the thread's policy bits.
constexpr int32_t kPolicyGather = 0x40 << 16;

}  // namespace corvex_binder
