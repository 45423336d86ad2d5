// An object or a descriptor in a parcel, kept beside its data, and the parcel's insides for those
// who carry parcels between processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <binder/Parcel.h>

namespace corvex_binder {

// How the place of an object looks in the data. All else is zero.
enum object_type : uint32_t {
    kBinderType = 0x73622a85,      // "sb*"
    kWeakBinderType = 0x77622a85,  // "wb*"
    kDescriptorType = 0x66642a85,  // "fd*"
};

struct flat_object {
    uint32_t type;
    uint32_t flags;
    uint64_t value;
    uint64_t cookie;
};
static_assert(sizeof(flat_object) == 24, "a place in the data, the same in every process");

// Owns what it refers to.
struct parcel_object {
    size_t offset = 0;
    object_type type = kBinderType;
    android::sp<android::IBinder> binder;  // kBinderType
    android::wp<android::IBinder> weak;    // kWeakBinderType
    int fd = -1;                           // kDescriptorType
    bool owns_fd = false;

    parcel_object() = default;
    parcel_object(parcel_object&& other) noexcept { swap(other); }
    parcel_object& operator=(parcel_object&& other) noexcept {
        swap(other);
        return *this;
    }
    ~parcel_object() { close_descriptor(); }

    void close_descriptor();
    void swap(parcel_object& other) noexcept;
};

struct parcel_access {
    // Gives an empty parcel these bytes, and takes these objects, sorted by offset. NO_MEMORY
    // leaves both as they are.
    static android::status_t fill(android::Parcel& parcel, const uint8_t* data, size_t bytes,
                                  std::vector<parcel_object>* objects);
    static const std::vector<parcel_object>& objects(const android::Parcel& parcel) {
        return parcel.mObjects;
    }
    // Empties `to` and moves all that `from` holds into it, read position at the start.
    static void move(android::Parcel& from, android::Parcel& to);
};

}  // namespace corvex_binder
