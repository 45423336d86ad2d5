// Fields that one thread stores and others load without a lock, where only the value itself
// matters and no order. The fields stay plain members, so that their records stay trivial and can
// be zero-filled. 64-bit fields must be aligned to 8 bytes on 32-bit machines too.
#pragma once

template <typename T>
T load_relaxed(const T& field) {
    T value;
    __atomic_load(&field, &value, __ATOMIC_RELAXED);
    return value;
}

template <typename T>
void store_relaxed(T& field, T value) {
    __atomic_store(&field, &value, __ATOMIC_RELAXED);
}
