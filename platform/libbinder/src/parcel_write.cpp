// Writing plain data and strings.

#include <cstring>
#include <limits>

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>

#include "parcel_layout.h"
#include "parcel_object.h"

namespace android {

using corvex_binder::kMaxParcelBytes;
using corvex_binder::padded;

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

void* Parcel::writeInplace(size_t len) {
    // An empty parcel has no bytes to point at, so even nothing gets room to be written in.
    if (len > kMaxParcelBytes || setDataCapacity(1) != NO_ERROR) {
        mError = len > kMaxParcelBytes ? BAD_VALUE : NO_MEMORY;
        return nullptr;
    }
    auto* to = static_cast<uint8_t*>(prepare_write(padded(len)));
    if (to != nullptr) {
        memset(to + len, 0, padded(len) - len);
        mDataPos += padded(len);
    }
    return to;
}

status_t Parcel::writeUnpadded(const void* data, size_t len) {
    void* to = prepare_write(len);
    if (to == nullptr) {
        return mError;
    }
    if (len > 0) {
        memcpy(to, data, len);
    }
    mDataPos += len;
    return NO_ERROR;
}

template <typename T>
status_t Parcel::write_plain(T val) {
    static_assert(sizeof(T) == padded(sizeof(T)), "whole words");
    return write(&val, sizeof val);
}

status_t Parcel::writeInt32(int32_t val) {
    return write_plain(val);
}

status_t Parcel::writeUint32(uint32_t val) {
    return write_plain(val);
}

status_t Parcel::writeInt64(int64_t val) {
    return write_plain(val);
}

status_t Parcel::writeUint64(uint64_t val) {
    return write_plain(val);
}

status_t Parcel::writeFloat(float val) {
    return write_plain(val);
}

status_t Parcel::writeDouble(double val) {
    return write_plain(val);
}

status_t Parcel::writePointer(uintptr_t val) {
    return write_plain(uint64_t{val});
}

status_t Parcel::writeBool(bool val) {
    return writeInt32(val ? 1 : 0);
}

status_t Parcel::writeChar(char16_t val) {
    return writeInt32(val);
}

status_t Parcel::writeByte(int8_t val) {
    return writeInt32(val);
}

status_t Parcel::writeCString(const char* str) {
    return str != nullptr ? write(str, strlen(str) + 1) : mError = BAD_VALUE;
}

status_t Parcel::writeString8(const String8& str) {
    if (str.bytes() > kMaxParcelBytes) {
        return mError = BAD_VALUE;
    }
    const status_t status = writeInt32(static_cast<int32_t>(str.bytes()));
    // The reader of an empty one looks for no terminator either.
    return status == NO_ERROR && str.bytes() > 0 ? write(str.string(), str.bytes() + 1) : status;
}

status_t Parcel::writeString16(const String16& str) {
    return writeString16(str.string(), str.size());
}

status_t Parcel::writeString16(const std::unique_ptr<String16>& str) {
    return str != nullptr ? writeString16(*str) : writeInt32(-1);
}

status_t Parcel::writeString16(const char16_t* str, size_t len) {
    if (str == nullptr) {
        return writeInt32(-1);
    }
    if (len >= kMaxParcelBytes / sizeof(char16_t)) {
        return mError = BAD_VALUE;
    }
    const status_t status = writeInt32(static_cast<int32_t>(len));
    if (status != NO_ERROR) {
        return status;
    }
    const size_t bytes = len * sizeof(char16_t);
    auto* to = static_cast<uint8_t*>(writeInplace(bytes + sizeof(char16_t)));
    if (to == nullptr) {
        return mError;
    }
    memcpy(to, str, bytes);
    memset(to + bytes, 0, sizeof(char16_t));
    return NO_ERROR;
}

status_t Parcel::writeUtf8AsUtf16(const std::string& str) {
    return writeString16(String16(str.c_str(), str.size()));
}

status_t Parcel::writeInt32Array(size_t len, const int32_t* val) {
    if (val == nullptr) {
        return writeInt32(-1);
    }
    if (len > kMaxParcelBytes / sizeof *val) {
        return mError = BAD_VALUE;
    }
    const status_t status = writeInt32(static_cast<int32_t>(len));
    return status == NO_ERROR ? write(val, len * sizeof *val) : status;
}

status_t Parcel::writeByteArray(size_t len, const uint8_t* val) {
    if (val == nullptr) {
        return writeInt32(-1);
    }
    if (len > kMaxParcelBytes) {
        return mError = BAD_VALUE;
    }
    const status_t status = writeInt32(static_cast<int32_t>(len));
    return status == NO_ERROR ? write(val, len) : status;
}

status_t Parcel::writeByteVector(const std::vector<int8_t>& val) {
    return writeByteArray(val.size(),
                          reinterpret_cast<const uint8_t*>(
                              val.empty() ? reinterpret_cast<const int8_t*>("") : val.data()));
}

status_t Parcel::writeByteVector(const std::vector<uint8_t>& val) {
    return writeByteArray(val.size(),
                          val.empty() ? reinterpret_cast<const uint8_t*>("") : val.data());
}

template <typename T, typename Write>
status_t Parcel::write_vector(const std::vector<T>& val, Write write_one) {
    if (val.size() > kMaxParcelBytes) {
        return mError = BAD_VALUE;
    }
    status_t status = writeInt32(static_cast<int32_t>(val.size()));
    for (size_t i = 0; status == NO_ERROR && i < val.size(); ++i) {
        status = (this->*write_one)(val[i]);
    }
    return status;
}

status_t Parcel::writeInt32Vector(const std::vector<int32_t>& val) {
    return write_vector(val, &Parcel::writeInt32);
}

status_t Parcel::writeInt64Vector(const std::vector<int64_t>& val) {
    return write_vector(val, &Parcel::writeInt64);
}

status_t Parcel::writeFloatVector(const std::vector<float>& val) {
    return write_vector(val, &Parcel::writeFloat);
}

status_t Parcel::writeDoubleVector(const std::vector<double>& val) {
    return write_vector(val, &Parcel::writeDouble);
}

status_t Parcel::writeBoolVector(const std::vector<bool>& val) {
    return write_vector(val, &Parcel::writeBool);
}

status_t Parcel::writeCharVector(const std::vector<char16_t>& val) {
    return write_vector(val, &Parcel::writeChar);
}

status_t Parcel::writeString16Vector(const std::vector<String16>& val) {
    return write_vector(val,
                        static_cast<status_t (Parcel::*)(const String16&)>(&Parcel::writeString16));
}

status_t Parcel::writeStrongBinderVector(const std::vector<sp<IBinder>>& val) {
    return write_vector(val, &Parcel::writeStrongBinder);
}

status_t Parcel::writeNoException() {
    return writeInt32(0);
}

status_t Parcel::writeInterfaceToken(const String16& interface) {
    writeInt32(IPCThreadState::self()->getStrictModePolicy() | corvex_binder::kPolicyGather);
    return writeString16(interface);
}

}  // namespace android
