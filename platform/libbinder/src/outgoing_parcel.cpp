#include "outgoing_parcel.h"

#include <cerrno>
#include <cstring>

#include "log.h"
#include "parcel_object.h"

namespace corvex_binder {

android::status_t outgoing_parcel::prepare() {
    if (parcel.errorCheck() != android::NO_ERROR) {
        return parcel.errorCheck();
    }
    if (!fits_frame(parcel)) {
        BINDER_LOG(ERROR,
                   "a parcel of %zu bytes and %zu objects is not sent: at most %zu bytes, "
                   "%zu objects and %zu descriptors travel at once",
                   parcel.dataSize(), parcel.objectsCount(), kMaxFrameParcelBytes, kMaxFrameObjects,
                   kMaxFrameDescriptors);
        return android::FAILED_TRANSACTION;
    }
    if (!duplicate_descriptors(parcel, &descriptors)) {
        BINDER_LOG(ERROR, "a parcel's descriptor cannot be sent: %s", strerror(errno));
        return android::FAILED_TRANSACTION;
    }
    for (const parcel_object& object : parcel_access::objects(parcel)) {
        const auto offset = static_cast<uint32_t>(object.offset);
        if (object.type == kDescriptorType) {
            objects.push_back({offset, nullptr});
            continue;
        }
        android::sp<android::IBinder> binder =
            object.type == kBinderType ? object.binder : object.weak.promote();
        // A weak one that is gone arrives as nothing.
        if (binder != nullptr) {
            objects.push_back({offset, std::move(binder)});
        }
    }
    return android::NO_ERROR;
}

}  // namespace corvex_binder
