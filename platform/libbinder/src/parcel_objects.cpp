// Writing and reading objects and descriptors.

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <binder/Parcel.h>

#include "parcel_object.h"
#include "unique_fd.h"

namespace android {

using corvex_binder::flat_object;
using corvex_binder::kBinderType;
using corvex_binder::kDescriptorType;
using corvex_binder::unique_fd;

// Writes the object's place in the data and, unless it is a null object, its record.
status_t Parcel::write_object(object_record&& object) {
    const bool is_null = object.type == kBinderType && object.binder == nullptr;
    flat_object flat = {};
    flat.type = object.type;
    object.offset = mDataPos;
    const status_t status = write(&flat, sizeof flat);
    if (status != NO_ERROR || is_null) {
        return status;
    }
    const auto after =
        std::find_if(mObjects.begin(), mObjects.end(),
                     [&](const object_record& other) { return other.offset > object.offset; });
    mObjects.insert(after, std::move(object));
    return NO_ERROR;
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& val) {
    object_record object;
    object.binder = val;
    return write_object(std::move(object));
}

status_t Parcel::writeFileDescriptor(int fd, bool takeOwnership) {
    object_record object;
    object.type = kDescriptorType;
    object.fd = fd;
    object.owned.reset(takeOwnership ? fd : -1);
    if (fd < 0) {
        return mError = BAD_VALUE;
    }
    return write_object(std::move(object));
}

status_t Parcel::writeDupFileDescriptor(int fd) {
    unique_fd copy = unique_fd::duplicate(fd);
    return copy.valid() ? writeFileDescriptor(copy.release(), true) : -errno;
}

// The record of the object here, or null, with the type found (zero where there is none).
const Parcel::object_record* Parcel::read_object(uint32_t* type) const {
    *type = 0;
    const size_t offset = mDataPos;
    flat_object flat = {};
    if (read(&flat, sizeof flat) != NO_ERROR) {
        return nullptr;
    }
    const auto found =
        std::lower_bound(mObjects.begin(), mObjects.end(), offset,
                         [](const object_record& object, size_t at) { return object.offset < at; });
    if (found != mObjects.end() && found->offset == offset) {
        *type = found->type;
        return &*found;
    }
    const flat_object null_object = {kBinderType, 0, 0, 0};
    if (memcmp(&flat, &null_object, sizeof flat) == 0) {
        *type = kBinderType;
        return nullptr;
    }
    mDataPos = offset;
    return nullptr;
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* val) const {
    *val = nullptr;
    uint32_t type = 0;
    const object_record* object = read_object(&type);
    if (type != kBinderType) {
        return BAD_TYPE;
    }
    if (object != nullptr) {
        *val = object->binder;
    }
    return NO_ERROR;
}

status_t Parcel::readStrongBinder(sp<IBinder>* val) const {
    const status_t status = readNullableStrongBinder(val);
    return status == NO_ERROR && *val == nullptr ? UNEXPECTED_NULL : status;
}

sp<IBinder> Parcel::readStrongBinder() const {
    sp<IBinder> val;
    readNullableStrongBinder(&val);
    return val;
}

int Parcel::readFileDescriptor() const {
    uint32_t type = 0;
    const object_record* object = read_object(&type);
    return type == kDescriptorType && object->fd >= 0 ? object->fd : BAD_TYPE;
}

}  // namespace android
