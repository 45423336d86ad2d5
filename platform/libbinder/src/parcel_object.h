// An object or a descriptor in a parcel, kept beside its data, and the parcel's insides for those
// who carry parcels between processes.
#pragma once

#include <android-base/unique_fd.h>
#include <binder/Parcel.h>

namespace android::corvex_binder {

// How the place of an object looks in the data. All else is zero.
enum object_type : uint32_t {
    kBinderType = 0x73622a85,      // "sb*"
    kDescriptorType = 0x66642a85,  // "fd*"
};

struct flat_object {
    uint32_t type;
    uint32_t zeros[5];
};

// Owns what it refers to, a descriptor only where `owned` has it.
struct parcel_object {
    size_t offset = 0;
    object_type type = kBinderType;
    sp<IBinder> binder;  // kBinderType
    int fd = -1;         // kDescriptorType
    base::unique_fd owned;
};

struct parcel_access {
    // Gives a parcel its objects, sorted by offset.
    static void set_objects(Parcel& parcel, std::vector<parcel_object>&& objects) {
        parcel.mObjects = std::move(objects);
    }
    static const std::vector<parcel_object>& objects(const Parcel& parcel) {
        return parcel.mObjects;
    }
};

}  // namespace android::corvex_binder
