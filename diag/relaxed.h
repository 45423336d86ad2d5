// Fields that one thread stores and others load without a lock, where only the value itself
// matters and no order. The fields stay plain members, so that their records stay trivial and can
// be zero-filled.
#pragma once

#include <stdint.h>

// A 64-bit field must be declared with this alignment: where a 32-bit ABI aligns 64-bit numbers to
// 4 bytes, a compiler would otherwise call a library that may lock.
typedef uint64_t relaxed_uint64 __attribute__((aligned(8)));

template <typename T>
constexpr bool is_aligned_to_size() {
    // False for 64-bit numbers on some 32-bit ABIs.
    return sizeof(T) <= alignof(T);  // NOLINT(bugprone-sizeof-expression,misc-redundant-expression)
}

template <typename T>
T load_relaxed(const T& field) {
    static_assert(is_aligned_to_size<T>(), "use relaxed_uint64");
    T value;
    __atomic_load(&field, &value, __ATOMIC_RELAXED);
    return value;
}

template <typename T>
void store_relaxed(T& field, T value) {
    static_assert(is_aligned_to_size<T>(), "use relaxed_uint64");
    __atomic_store(&field, &value, __ATOMIC_RELAXED);
}

inline uint64_t load_relaxed_64(const relaxed_uint64* field) {
    return __atomic_load_n(field, __ATOMIC_RELAXED);
}

inline void store_relaxed_64(relaxed_uint64* field, uint64_t value) {
    __atomic_store_n(field, value, __ATOMIC_RELAXED);
}
