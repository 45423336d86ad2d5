// A parcel made ready to be sent, as far as that can be done without a lock: objects are held,
// descriptors are duplicated.
#pragma once

#include <vector>

#include <binder/Parcel.h>

#include "unique_fd.h"
#include "wire.h"

namespace corvex_binder {

struct outgoing_parcel {
    struct held_object {
        uint32_t offset;
        android::sp<android::IBinder> binder;  // null for a descriptor
    };

    const android::Parcel& parcel;
    std::vector<held_object> objects;
    std::vector<unique_fd> descriptors;

    explicit outgoing_parcel(const android::Parcel& of) : parcel(of) {}
    // Why it cannot be sent, with a line in the log; 0 when it can.
    android::status_t prepare();
    // At least what the frame will cost.
    uint64_t cost() const {
        return frame_cost(sizeof(call_payload) + sizeof(parcel_header) +
                              objects.size() * sizeof(wire_object) + parcel.dataSize(),
                          descriptors.size());
    }
};

}  // namespace corvex_binder
