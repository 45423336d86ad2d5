// A parcel's storage: room, positions, and the table of objects.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <unistd.h>

#include <binder/Parcel.h>

#include "log.h"
#include "parcel_layout.h"
#include "parcel_object.h"
#include "unique_fd.h"

namespace corvex_binder {

void parcel_object::close_descriptor() {
    if (owns_fd && fd >= 0) {
        close(fd);
    }
    fd = -1;
    owns_fd = false;
}

void parcel_object::swap(parcel_object& other) noexcept {
    std::swap(offset, other.offset);
    std::swap(type, other.type);
    std::swap(binder, other.binder);
    std::swap(weak, other.weak);
    std::swap(fd, other.fd);
    std::swap(owns_fd, other.owns_fd);
}

android::status_t parcel_access::fill(android::Parcel& parcel, const uint8_t* data, size_t bytes,
                                      std::vector<parcel_object>* objects) {
    const android::status_t status = parcel.setData(data, bytes);
    if (status == android::NO_ERROR) {
        parcel.mObjects.swap(*objects);
    }
    return status;
}

void parcel_access::move(android::Parcel& from, android::Parcel& to) {
    to.freeData();
    std::swap(to.mData, from.mData);
    std::swap(to.mDataSize, from.mDataSize);
    std::swap(to.mDataCapacity, from.mDataCapacity);
    std::swap(to.mObjects, from.mObjects);
    from.freeData();
}

}  // namespace corvex_binder

namespace android {

using corvex_binder::flat_object;
using corvex_binder::kDescriptorType;
using corvex_binder::kMaxParcelBytes;
using corvex_binder::unique_fd;

Parcel::Parcel() = default;

Parcel::~Parcel() {
    free(mData);
}

const uint8_t* Parcel::data() const {
    return mData;
}

size_t Parcel::dataSize() const {
    return mDataSize;
}

size_t Parcel::dataAvail() const {
    return mDataPos < mDataSize ? mDataSize - mDataPos : 0;
}

size_t Parcel::dataPosition() const {
    return mDataPos;
}

size_t Parcel::dataCapacity() const {
    return mDataCapacity;
}

status_t Parcel::setDataSize(size_t size) {
    if (size > kMaxParcelBytes) {
        return BAD_VALUE;
    }
    if (size > mDataSize) {
        return grow(size);
    }
    mDataSize = size;
    mDataPos = std::min(mDataPos, size);
    const auto beyond = std::find_if(mObjects.begin(), mObjects.end(), [size](const auto& object) {
        return object.offset + sizeof(flat_object) > size;
    });
    mObjects.erase(beyond, mObjects.end());
    return NO_ERROR;
}

void Parcel::setDataPosition(size_t pos) const {
    mDataPos = std::min(pos, kMaxParcelBytes);
}

status_t Parcel::setDataCapacity(size_t size) {
    if (size > kMaxParcelBytes) {
        return BAD_VALUE;
    }
    if (size > mDataCapacity) {
        auto* moved = static_cast<uint8_t*>(realloc(mData, size));
        if (moved == nullptr) {
            return NO_MEMORY;
        }
        mData = moved;
        mDataCapacity = size;
    }
    return NO_ERROR;
}

// Makes the data end at `end`, if they do not reach that far yet; what is new is zero.
status_t Parcel::grow(size_t end) {
    if (end > kMaxParcelBytes) {
        return BAD_VALUE;
    }
    if (end <= mDataSize) {
        return NO_ERROR;
    }
    if (end > mDataCapacity) {
        const size_t capacity = std::min(end + end / 2, kMaxParcelBytes);
        const status_t status = setDataCapacity(capacity);
        if (status != NO_ERROR) {
            return status;
        }
    }
    memset(mData + mDataSize, 0, end - mDataSize);
    mDataSize = end;
    return NO_ERROR;
}

// Room for len bytes at the position, which it does not move. What is overwritten goes, objects
// and descriptors too.
void* Parcel::prepare_write(size_t len) {
    status_t status = BAD_VALUE;
    if (len <= kMaxParcelBytes && mDataPos <= kMaxParcelBytes - len) {
        status = grow(mDataPos + len);
    }
    if (status != NO_ERROR) {
        mError = status;
        return nullptr;
    }
    const size_t begin = mDataPos;
    const size_t end = begin + len;
    const auto overlaps = [begin, end](const object_record& object) {
        return object.offset < end && object.offset + sizeof(flat_object) > begin;
    };
    mObjects.erase(std::remove_if(mObjects.begin(), mObjects.end(), overlaps), mObjects.end());
    return mData + mDataPos;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    if (len > kMaxParcelBytes || (buffer == nullptr && len > 0)) {
        return BAD_VALUE;
    }
    freeData();
    const status_t status = setDataCapacity(len);
    if (status == NO_ERROR && len > 0) {
        memcpy(mData, buffer, len);
        mDataSize = len;
    }
    return status;
}

status_t Parcel::appendFrom(const Parcel* parcel, size_t start, size_t len) {
    if (parcel->mError != NO_ERROR) {
        return parcel->mError;
    }
    if (start > parcel->mDataSize || len > parcel->mDataSize - start) {
        return BAD_VALUE;
    }
    std::vector<object_record> copies;
    for (const object_record& object : parcel->mObjects) {
        if (object.offset < start || object.offset + sizeof(flat_object) > start + len) {
            continue;
        }
        object_record copy;
        copy.offset = object.offset - start + mDataPos;
        copy.type = object.type;
        copy.binder = object.binder;
        copy.weak = object.weak;
        if (object.type == kDescriptorType) {
            if (!mAllowFds) {
                return FDS_NOT_ALLOWED;
            }
            copy.fd = unique_fd::duplicate(object.fd).release();
            copy.owns_fd = true;
            if (copy.fd < 0) {
                return -errno;
            }
        }
        copies.push_back(std::move(copy));
    }
    void* to = prepare_write(len);
    if (to == nullptr) {
        return mError;
    }
    memmove(to, parcel->mData + start, len);
    mDataPos += len;
    const auto after = std::find_if(mObjects.begin(), mObjects.end(),
                                    [&](const auto& object) { return object.offset >= mDataPos; });
    mObjects.insert(after, std::make_move_iterator(copies.begin()),
                    std::make_move_iterator(copies.end()));
    return NO_ERROR;
}

int Parcel::compareData(const Parcel& other) const {
    if (mDataSize != other.mDataSize) {
        return mDataSize < other.mDataSize ? -1 : 1;
    }
    return mDataSize == 0 ? 0 : memcmp(mData, other.mData, mDataSize);
}

bool Parcel::allowFds() const {
    return mAllowFds;
}

bool Parcel::pushAllowFds(bool allowFds) {
    const bool before = mAllowFds;
    mAllowFds = mAllowFds && allowFds;
    return before;
}

void Parcel::restoreAllowFds(bool lastValue) {
    mAllowFds = lastValue;
}

bool Parcel::hasFileDescriptors() const {
    return std::any_of(mObjects.begin(), mObjects.end(),
                       [](const auto& object) { return object.type == kDescriptorType; });
}

void Parcel::freeData() {
    mObjects.clear();
    free(mData);
    mData = nullptr;
    mDataSize = 0;
    mDataCapacity = 0;
    mDataPos = 0;
    mError = NO_ERROR;
    mAllowFds = true;
}

size_t Parcel::objectsCount() const {
    return mObjects.size();
}

status_t Parcel::errorCheck() const {
    return mError;
}

void Parcel::setError(status_t err) {
    mError = err;
}

void Parcel::closeFileDescriptors() {
    for (object_record& object : mObjects) {
        object.close_descriptor();
    }
}

}  // namespace android
