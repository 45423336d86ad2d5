// An object or a descriptor in a parcel, kept beside its data, and the parcel's insides for those
// who carry parcels between processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <binder/Parcel.h>

#include "unique_fd.h"

namespace corvex_binder {

// How the place of an object looks in the data. All else is zero.
enum object_type : uint32_t {
    kBinderType = 0x73622a85,      // "sb*"
    kDescriptorType = 0x66642a85,  // "fd*"
};

struct flat_object {
    uint32_t type;
    uint32_t flags;
    uint64_t value;
    uint64_t cookie;
};
static_assert(sizeof(flat_object) == 24, "a place in the data, the same in every process");

// Owns what it refers to, a descriptor only where `owned` has it.
struct parcel_object {
    size_t offset = 0;
    object_type type = kBinderType;
    android::sp<android::IBinder> binder;  // kBinderType
    int fd = -1;                           // kDescriptorType
    unique_fd owned;
};

struct parcel_access {
    // Gives a parcel its objects, sorted by offset.
    static void set_objects(android::Parcel& parcel, std::vector<parcel_object>&& objects) {
        parcel.mObjects = std::move(objects);
    }
    static const std::vector<parcel_object>& objects(const android::Parcel& parcel) {
        return parcel.mObjects;
    }
};

}  // namespace corvex_binder
