// A parcel's data and objects. Nothing here trusts what it reads.

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>

#include <binder/Parcel.h>
#include <utils/String8.h>

#include "log.h"
#include "parcel_object.h"

namespace android {

using namespace corvex_binder;

namespace {

// What a parcel may hold: what a signed 32-bit count can say, in whole words. What may travel is
// less: message.h.
constexpr size_t kMaxStoredBytes = INT32_MAX & ~size_t{3};

// First word of an interface token, as on a device.
constexpr int32_t kTokenStart = 0x40 << 16;

// For at most kMaxStoredBytes.
constexpr size_t padded(size_t bytes) {
    return (bytes + 3) & ~size_t{3};
}

}  // namespace

Parcel::Parcel() = default;

Parcel::~Parcel() {
    freeData();
}

void Parcel::freeData() {
    mObjects.clear();
    if (mData != mInline) {
        free(mData);
        mData = mInline;
        mDataCapacity = kInlineBytes;
    }
    mDataSize = 0;
    mDataPos = 0;
    mError = NO_ERROR;
}

void Parcel::setDataPosition(size_t pos) const {
    mDataPos = std::min(pos, kMaxStoredBytes);
}

size_t Parcel::objectsCount() const {
    return mObjects.size();
}

// Room for so many bytes, and no more than that: who reads past it is found out.
status_t Parcel::reserve(size_t capacity) {
    if (capacity <= mDataCapacity) {
        return NO_ERROR;
    }
    const bool was_inline = mData == mInline;
    auto* moved = static_cast<uint8_t*>(realloc(was_inline ? nullptr : mData, capacity));
    if (moved == nullptr) {
        return NO_MEMORY;
    }
    if (was_inline) {
        memcpy(moved, mInline, mDataSize);
    }
    mData = moved;
    mDataCapacity = capacity;
    return NO_ERROR;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    if (len > kMaxStoredBytes || (buffer == nullptr && len > 0)) {
        return BAD_VALUE;
    }
    freeData();
    const status_t status = reserve(len);
    if (status == NO_ERROR && len > 0) {
        memcpy(mData, buffer, len);
        mDataSize = len;
    }
    return status;
}

// What is overwritten goes, objects and descriptors too; up to the position there are zeros.
void* Parcel::writeInplace(size_t len) {
    const size_t begin = mDataPos;
    if (len > kMaxStoredBytes || begin > kMaxStoredBytes - padded(len)) {
        mError = BAD_VALUE;
        return nullptr;
    }
    const size_t end = begin + padded(len);
    if (end > mDataCapacity && reserve(std::min(end + end / 2, kMaxStoredBytes)) != NO_ERROR) {
        mError = NO_MEMORY;
        return nullptr;
    }
    if (end > mDataSize) {
        memset(mData + mDataSize, 0, end - mDataSize);
        mDataSize = end;
    }
    memset(mData + begin + len, 0, end - begin - len);
    if (!mObjects.empty()) {
        const auto overlaps = [begin, end](const object_record& object) {
            return object.offset < end && object.offset + sizeof(flat_object) > begin;
        };
        mObjects.erase(std::remove_if(mObjects.begin(), mObjects.end(), overlaps), mObjects.end());
    }
    mDataPos = end;
    return mData + begin;
}

status_t Parcel::write(const void* data, size_t len) {
    if (len > 0 && data == nullptr) {
        return mError = BAD_VALUE;
    }
    void* to = writeInplace(len);
    if (to == nullptr) {
        return mError;
    }
    if (len > 0) {
        memcpy(to, data, len);
    }
    return NO_ERROR;
}

status_t Parcel::writeString16(const String16& str) {
    if (str.size() >= kMaxStoredBytes / sizeof(char16_t)) {
        return mError = BAD_VALUE;
    }
    writeInt32(static_cast<int32_t>(str.size()));
    return write(str.string(), (str.size() + 1) * sizeof(char16_t));
}

status_t Parcel::writeInterfaceToken(const String16& interface) {
    writeInt32(kTokenStart);
    return writeString16(interface);
}

const void* Parcel::readInplace(size_t len) const {
    if (len > kMaxStoredBytes || padded(len) > dataAvail()) {
        return nullptr;
    }
    const uint8_t* from = mData + mDataPos;
    mDataPos += padded(len);
    return from;
}

status_t Parcel::read(void* outData, size_t len) const {
    const void* from = readInplace(len);
    if (from != nullptr && len > 0) {
        memcpy(outData, from, len);
    }
    return from != nullptr || len == 0 ? static_cast<status_t>(NO_ERROR) : NOT_ENOUGH_DATA;
}

namespace {

// A counted, terminated string.
status_t read_utf16(const Parcel& parcel, const char16_t** text, size_t* length) {
    int32_t size = 0;
    if (parcel.readInt32(&size) != NO_ERROR) {
        return NOT_ENOUGH_DATA;
    }
    // At an odd place no string is written.
    if (size < 0 || parcel.dataPosition() % alignof(char16_t) != 0) {
        return size == -1 ? UNEXPECTED_NULL : BAD_VALUE;
    }
    *length = static_cast<size_t>(size);
    const bool fits = *length < kMaxStoredBytes / sizeof(char16_t);
    const void* from = fits ? parcel.readInplace((*length + 1) * sizeof(char16_t)) : nullptr;
    *text = static_cast<const char16_t*>(from);
    if (from == nullptr) {
        return NOT_ENOUGH_DATA;
    }
    return (*text)[*length] == 0 ? NO_ERROR : BAD_VALUE;
}

}  // namespace

String16 Parcel::readString16() const {
    String16 str;
    readString16(&str);
    return str;
}

status_t Parcel::readString16(String16* pArg) const {
    const char16_t* text = nullptr;
    size_t length = 0;
    const status_t status = read_utf16(*this, &text, &length);
    *pArg = String16();
    return status == NO_ERROR ? pArg->setTo(text, length) : status;
}

bool Parcel::checkInterface(IBinder* binder) const {
    const String16& interface = binder->getInterfaceDescriptor();
    readInt32();
    const char16_t* name = nullptr;
    size_t length = 0;
    const bool has_name = read_utf16(*this, &name, &length) == NO_ERROR;
    if (!has_name || length != interface.size() ||
        memcmp(name, interface.string(), length * sizeof *name) != 0) {
        complain(caller_complaints(), "a call for '%.64s' came to '%s' and was refused",
                 has_name ? String8(name, length).string() : "", String8(interface).string());
        return false;
    }
    return true;
}

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
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    return copy >= 0 ? writeFileDescriptor(copy, true) : -errno;
}

// The record of the object here; null where there is none.
const Parcel::object_record* Parcel::read_object() const {
    static const auto* null_object = new object_record;
    const size_t offset = mDataPos;
    flat_object flat = {};
    if (read(&flat, sizeof flat) != NO_ERROR) {
        return nullptr;
    }
    const auto found =
        std::lower_bound(mObjects.begin(), mObjects.end(), offset,
                         [](const object_record& object, size_t at) { return object.offset < at; });
    if (found != mObjects.end() && found->offset == offset) {
        return &*found;
    }
    const flat_object flat_null = {kBinderType, {}};
    if (memcmp(&flat, &flat_null, sizeof flat) == 0) {
        return null_object;
    }
    mDataPos = offset;
    return nullptr;
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* val) const {
    const object_record* object = read_object();
    const bool is_binder = object != nullptr && object->type == kBinderType;
    *val = is_binder ? object->binder : nullptr;
    return is_binder ? NO_ERROR : BAD_TYPE;
}

sp<IBinder> Parcel::readStrongBinder() const {
    sp<IBinder> val;
    readNullableStrongBinder(&val);
    return val;
}

int Parcel::readFileDescriptor() const {
    const object_record* object = read_object();
    const bool is_descriptor = object != nullptr && object->type == kDescriptorType;
    return is_descriptor && object->fd >= 0 ? object->fd : BAD_TYPE;
}

}  // namespace android
