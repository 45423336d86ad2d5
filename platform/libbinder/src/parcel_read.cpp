// Reading plain data and strings. Nothing here trusts what it reads.

#include <cstring>
#include <limits>

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>

#include "log.h"
#include "parcel_layout.h"
#include "parcel_object.h"

namespace android {

using corvex_binder::kMaxParcelBytes;
using corvex_binder::kPolicyGather;
using corvex_binder::padded;

const void* Parcel::readInplace(size_t len) const {
    if (len > kMaxParcelBytes || padded(len) > dataAvail() || mData == nullptr) {
        return nullptr;
    }
    const uint8_t* from = mData + mDataPos;
    mDataPos += padded(len);
    return from;
}

status_t Parcel::read(void* outData, size_t len) const {
    const void* from = readInplace(len);
    if (from == nullptr) {
        return len == 0 ? NO_ERROR : NOT_ENOUGH_DATA;
    }
    if (len > 0) {
        memcpy(outData, from, len);
    }
    return NO_ERROR;
}

// Leaves *val alone unless it succeeds.
template <typename T>
status_t Parcel::read_plain(T* val) const {
    static_assert(sizeof(T) == padded(sizeof(T)), "whole words");
    return read(val, sizeof *val);
}

template <typename T>
T Parcel::read_or_zero() const {
    T val = {};
    read_plain(&val);
    return val;
}

int32_t Parcel::readInt32() const {
    return read_or_zero<int32_t>();
}

status_t Parcel::readInt32(int32_t* pArg) const {
    return read_plain(pArg);
}

uint32_t Parcel::readUint32() const {
    return read_or_zero<uint32_t>();
}

status_t Parcel::readUint32(uint32_t* pArg) const {
    return read_plain(pArg);
}

int64_t Parcel::readInt64() const {
    return read_or_zero<int64_t>();
}

status_t Parcel::readInt64(int64_t* pArg) const {
    return read_plain(pArg);
}

uint64_t Parcel::readUint64() const {
    return read_or_zero<uint64_t>();
}

status_t Parcel::readUint64(uint64_t* pArg) const {
    return read_plain(pArg);
}

float Parcel::readFloat() const {
    return read_or_zero<float>();
}

status_t Parcel::readFloat(float* pArg) const {
    return read_plain(pArg);
}

double Parcel::readDouble() const {
    return read_or_zero<double>();
}

status_t Parcel::readDouble(double* pArg) const {
    return read_plain(pArg);
}

uintptr_t Parcel::readPointer() const {
    uintptr_t val = 0;
    readPointer(&val);
    return val;
}

status_t Parcel::readPointer(uintptr_t* pArg) const {
    uint64_t val = 0;
    const status_t status = read_plain(&val);
    if (status != NO_ERROR) {
        return status;
    }
    if (val > UINTPTR_MAX) {
        return BAD_VALUE;
    }
    *pArg = static_cast<uintptr_t>(val);
    return NO_ERROR;
}

bool Parcel::readBool() const {
    return readInt32() != 0;
}

status_t Parcel::readBool(bool* pArg) const {
    int32_t val = 0;
    const status_t status = readInt32(&val);
    *pArg = val != 0;
    return status;
}

char16_t Parcel::readChar() const {
    return static_cast<char16_t>(readInt32());
}

status_t Parcel::readChar(char16_t* pArg) const {
    int32_t val = 0;
    const status_t status = readInt32(&val);
    *pArg = static_cast<char16_t>(val);
    return status;
}

int8_t Parcel::readByte() const {
    return static_cast<int8_t>(readInt32());
}

status_t Parcel::readByte(int8_t* pArg) const {
    int32_t val = 0;
    const status_t status = readInt32(&val);
    *pArg = static_cast<int8_t>(val);
    return status;
}

const char* Parcel::readCString() const {
    const size_t avail = dataAvail();
    if (avail == 0) {
        return nullptr;
    }
    const auto* str = reinterpret_cast<const char*>(mData + mDataPos);
    const size_t length = strnlen(str, avail);
    // No terminator, or no room for its padding.
    return length < avail ? static_cast<const char*>(readInplace(length + 1)) : nullptr;
}

String8 Parcel::readString8() const {
    String8 str;
    readString8(&str);
    return str;
}

status_t Parcel::readString8(String8* pArg) const {
    pArg->clear();
    int32_t size = 0;
    const status_t status = readInt32(&size);
    if (status != NO_ERROR || size == 0) {
        return status;
    }
    if (size < 0) {
        return BAD_VALUE;
    }
    const auto* str = static_cast<const char*>(readInplace(static_cast<size_t>(size) + 1));
    if (str == nullptr) {
        return NOT_ENOUGH_DATA;
    }
    return str[size] == '\0' ? pArg->setTo(str, static_cast<size_t>(size)) : BAD_VALUE;
}

namespace {

// A counted, terminated string; null and the reason where there is none.
const char16_t* read_utf16(const Parcel& parcel, size_t* length, status_t* status) {
    int32_t size = 0;
    *length = 0;
    *status = parcel.readInt32(&size);
    if (*status != NO_ERROR) {
        return nullptr;
    }
    if (size < 0) {
        *status = size == -1 ? UNEXPECTED_NULL : BAD_VALUE;
        return nullptr;
    }
    const auto units = static_cast<size_t>(size);
    // Unpadded bytes in front can leave it where no string is written.
    if (parcel.dataPosition() % alignof(char16_t) != 0) {
        *status = BAD_VALUE;
        return nullptr;
    }
    *status = NOT_ENOUGH_DATA;
    if (units >= kMaxParcelBytes / sizeof(char16_t)) {
        return nullptr;
    }
    const auto* str =
        static_cast<const char16_t*>(parcel.readInplace((units + 1) * sizeof(char16_t)));
    if (str == nullptr) {
        return nullptr;
    }
    if (str[units] != 0) {
        *status = BAD_VALUE;
        return nullptr;
    }
    *status = NO_ERROR;
    *length = units;
    return str;
}

}  // namespace

const char16_t* Parcel::readString16Inplace(size_t* outLen) const {
    status_t ignored = NO_ERROR;
    return read_utf16(*this, outLen, &ignored);
}

String16 Parcel::readString16() const {
    String16 str;
    readString16(&str);
    return str;
}

status_t Parcel::readString16(String16* pArg) const {
    size_t length = 0;
    status_t status = NO_ERROR;
    const char16_t* str = read_utf16(*this, &length, &status);
    if (str == nullptr) {
        *pArg = String16();
        return status;
    }
    return pArg->setTo(str, length);
}

status_t Parcel::readString16(std::unique_ptr<String16>* pArg) const {
    pArg->reset();
    String16 str;
    const status_t status = readString16(&str);
    if (status == NO_ERROR) {
        *pArg = std::make_unique<String16>(str);
    }
    return status == UNEXPECTED_NULL ? static_cast<status_t>(NO_ERROR) : status;
}

status_t Parcel::readUtf8FromUtf16(std::string* str) const {
    str->clear();
    String16 wide;
    const status_t status = readString16(&wide);
    if (status == NO_ERROR) {
        const String8 narrow(wide);
        str->assign(narrow.string(), narrow.bytes());
    }
    return status;
}

status_t Parcel::readByteVector(std::vector<uint8_t>* val) const {
    val->clear();
    int32_t size = 0;
    const status_t status = readInt32(&size);
    if (status != NO_ERROR) {
        return status;
    }
    if (size < 0) {
        return UNEXPECTED_NULL;
    }
    const auto* bytes = static_cast<const uint8_t*>(readInplace(static_cast<size_t>(size)));
    if (bytes == nullptr) {
        return size == 0 ? NO_ERROR : BAD_VALUE;
    }
    val->assign(bytes, bytes + size);
    return NO_ERROR;
}

status_t Parcel::readByteVector(std::vector<int8_t>* val) const {
    std::vector<uint8_t> bytes;
    const status_t status = readByteVector(&bytes);
    val->assign(bytes.begin(), bytes.end());
    return status;
}

template <typename T, typename Read>
status_t Parcel::read_vector(std::vector<T>* val, Read read_one) const {
    val->clear();
    int32_t size = 0;
    status_t status = readInt32(&size);
    if (status != NO_ERROR) {
        return status;
    }
    if (size < 0) {
        return UNEXPECTED_NULL;
    }
    // Every element takes a word at least: no room is made for what cannot be there.
    if (static_cast<size_t>(size) > dataAvail() / sizeof(int32_t)) {
        return BAD_VALUE;
    }
    val->reserve(static_cast<size_t>(size));
    for (int32_t i = 0; status == NO_ERROR && i < size; ++i) {
        T element = {};
        status = (this->*read_one)(&element);
        if (status == NO_ERROR) {
            val->push_back(element);
        }
    }
    return status;
}

template <typename T>
using element_reader = status_t (Parcel::*)(T*) const;

status_t Parcel::readInt32Vector(std::vector<int32_t>* val) const {
    return read_vector(val, element_reader<int32_t>(&Parcel::readInt32));
}

status_t Parcel::readInt64Vector(std::vector<int64_t>* val) const {
    return read_vector(val, element_reader<int64_t>(&Parcel::readInt64));
}

status_t Parcel::readFloatVector(std::vector<float>* val) const {
    return read_vector(val, element_reader<float>(&Parcel::readFloat));
}

status_t Parcel::readDoubleVector(std::vector<double>* val) const {
    return read_vector(val, element_reader<double>(&Parcel::readDouble));
}

status_t Parcel::readBoolVector(std::vector<bool>* val) const {
    return read_vector(val, element_reader<bool>(&Parcel::readBool));
}

status_t Parcel::readCharVector(std::vector<char16_t>* val) const {
    return read_vector(val, element_reader<char16_t>(&Parcel::readChar));
}

status_t Parcel::readString16Vector(std::vector<String16>* val) const {
    return read_vector(val, element_reader<String16>(&Parcel::readString16));
}

status_t Parcel::readStrongBinderVector(std::vector<sp<IBinder>>* val) const {
    return read_vector(val, element_reader<sp<IBinder>>(&Parcel::readStrongBinder));
}

int32_t Parcel::readExceptionCode() const {
    int32_t code = 0;
    const status_t status = readInt32(&code);
    return status == NO_ERROR ? code : status;
}

bool Parcel::enforceInterface(const String16& interface, IPCThreadState* threadState) const {
    const int32_t policy = readInt32();
    IPCThreadState* thread = threadState != nullptr ? threadState : IPCThreadState::self();
    size_t length = 0;
    const char16_t* name = readString16Inplace(&length);
    if (name == nullptr || length != interface.size() ||
        memcmp(name, interface.string(), length * sizeof *name) != 0) {
        BINDER_LOG(WARN, "a call for '%s' came to '%s' and was refused",
                   name != nullptr ? String8(name, length).string() : "",
                   String8(interface).string());
        return false;
    }
    thread->setStrictModePolicy(policy & ~kPolicyGather);
    return true;
}

bool Parcel::checkInterface(IBinder* binder) const {
    return enforceInterface(binder->getInterfaceDescriptor());
}

}  // namespace android
