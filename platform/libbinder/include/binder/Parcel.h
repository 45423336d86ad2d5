// What a call carries: plain data, objects and descriptors.
//
// Data are packed at multiples of 4 bytes in the machine's own order. Objects and descriptors are
// kept beside the data, by their offset, so that bytes from outside can never become one. A parcel
// owns the descriptors that were given to it, and closes them; a reader who wants to keep one
// duplicates it.
//
// Reads past the end, or of what is not there, answer an error (or zero) and never touch memory
// that is not the parcel's. A failed write is remembered: errorCheck().
// One thread at a time.
#pragma once

#include <memory>
#include <stddef.h>
#include <stdint.h>
#include <string>
#include <vector>

#include <binder/IInterface.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/String8.h>

#pragma GCC visibility push(default)

namespace corvex_binder {
struct parcel_access;
struct parcel_object;
}  // namespace corvex_binder

namespace android {

class IPCThreadState;

class Parcel {
  public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    const uint8_t* data() const;
    size_t dataSize() const;
    size_t dataAvail() const;
    size_t dataPosition() const;
    size_t dataCapacity() const;

    // Cuts off, or appends zeros.
    status_t setDataSize(size_t size);
    // A position past the end reads nothing; at most 2 GiB.
    void setDataPosition(size_t pos) const;
    status_t setDataCapacity(size_t size);

    // Replaces all by a copy of these bytes, which hold no objects.
    status_t setData(const uint8_t* buffer, size_t len);
    // Appends a part of another parcel, with the objects that lie wholly inside it.
    status_t appendFrom(const Parcel* parcel, size_t start, size_t len);
    int compareData(const Parcel& other) const;

    bool allowFds() const;
    bool pushAllowFds(bool allowFds);
    void restoreAllowFds(bool lastValue);
    bool hasFileDescriptors() const;

    status_t writeInterfaceToken(const String16& interface);
    // Whether the parcel starts with this interface's token; reads it.
    bool enforceInterface(const String16& interface, IPCThreadState* threadState = nullptr) const;
    bool checkInterface(IBinder* binder) const;

    // Empties the parcel.
    void freeData();
    size_t objectsCount() const;

    status_t errorCheck() const;
    void setError(status_t err);

    status_t write(const void* data, size_t len);
    // Room for len bytes; null when there is none.
    void* writeInplace(size_t len);
    status_t writeUnpadded(const void* data, size_t len);
    status_t writeInt32(int32_t val);
    status_t writeUint32(uint32_t val);
    status_t writeInt64(int64_t val);
    status_t writeUint64(uint64_t val);
    status_t writeFloat(float val);
    status_t writeDouble(double val);
    status_t writePointer(uintptr_t val);
    status_t writeBool(bool val);
    status_t writeChar(char16_t val);
    status_t writeByte(int8_t val);
    status_t writeCString(const char* str);
    status_t writeString8(const String8& str);
    status_t writeString16(const String16& str);
    status_t writeString16(const std::unique_ptr<String16>& str);
    status_t writeString16(const char16_t* str, size_t len);
    status_t writeUtf8AsUtf16(const std::string& str);
    status_t writeInt32Array(size_t len, const int32_t* val);
    status_t writeByteArray(size_t len, const uint8_t* val);
    status_t writeByteVector(const std::vector<int8_t>& val);
    status_t writeByteVector(const std::vector<uint8_t>& val);
    status_t writeInt32Vector(const std::vector<int32_t>& val);
    status_t writeInt64Vector(const std::vector<int64_t>& val);
    status_t writeFloatVector(const std::vector<float>& val);
    status_t writeDoubleVector(const std::vector<double>& val);
    status_t writeBoolVector(const std::vector<bool>& val);
    status_t writeCharVector(const std::vector<char16_t>& val);
    status_t writeString16Vector(const std::vector<String16>& val);
    status_t writeStrongBinderVector(const std::vector<sp<IBinder>>& val);
    status_t writeNoException();

    status_t writeStrongBinder(const sp<IBinder>& val);
    status_t writeWeakBinder(const wp<IBinder>& val);
    // With takeOwnership the parcel closes fd, else fd must stay open while the parcel lives.
    status_t writeFileDescriptor(int fd, bool takeOwnership = false);
    status_t writeDupFileDescriptor(int fd);

    status_t read(void* outData, size_t len) const;
    // len bytes of the parcel itself, valid while it is not changed; null when there are fewer.
    const void* readInplace(size_t len) const;
    int32_t readInt32() const;
    status_t readInt32(int32_t* pArg) const;
    uint32_t readUint32() const;
    status_t readUint32(uint32_t* pArg) const;
    int64_t readInt64() const;
    status_t readInt64(int64_t* pArg) const;
    uint64_t readUint64() const;
    status_t readUint64(uint64_t* pArg) const;
    float readFloat() const;
    status_t readFloat(float* pArg) const;
    double readDouble() const;
    status_t readDouble(double* pArg) const;
    uintptr_t readPointer() const;
    status_t readPointer(uintptr_t* pArg) const;
    bool readBool() const;
    status_t readBool(bool* pArg) const;
    char16_t readChar() const;
    status_t readChar(char16_t* pArg) const;
    int8_t readByte() const;
    status_t readByte(int8_t* pArg) const;
    // The zero-terminated strings inside the parcel; null when there is none.
    const char* readCString() const;
    const char16_t* readString16Inplace(size_t* outLen) const;
    String8 readString8() const;
    status_t readString8(String8* pArg) const;
    String16 readString16() const;
    status_t readString16(String16* pArg) const;
    status_t readString16(std::unique_ptr<String16>* pArg) const;
    status_t readUtf8FromUtf16(std::string* str) const;
    status_t readByteVector(std::vector<int8_t>* val) const;
    status_t readByteVector(std::vector<uint8_t>* val) const;
    status_t readInt32Vector(std::vector<int32_t>* val) const;
    status_t readInt64Vector(std::vector<int64_t>* val) const;
    status_t readFloatVector(std::vector<float>* val) const;
    status_t readDoubleVector(std::vector<double>* val) const;
    status_t readBoolVector(std::vector<bool>* val) const;
    status_t readCharVector(std::vector<char16_t>* val) const;
    status_t readString16Vector(std::vector<String16>* val) const;
    status_t readStrongBinderVector(std::vector<sp<IBinder>>* val) const;
    int32_t readExceptionCode() const;

    sp<IBinder> readStrongBinder() const;
    // UNEXPECTED_NULL when it is null, BAD_TYPE when there is no object.
    status_t readStrongBinder(sp<IBinder>* val) const;
    status_t readNullableStrongBinder(sp<IBinder>* val) const;
    wp<IBinder> readWeakBinder() const;
    template <typename T>
    status_t readStrongBinder(sp<T>* val) const;
    // The parcel's own descriptor, or a negative status.
    int readFileDescriptor() const;

    void closeFileDescriptors();

  private:
    friend struct corvex_binder::parcel_access;
    using object_record = corvex_binder::parcel_object;

    void* prepare_write(size_t len);
    status_t grow(size_t end);
    status_t write_object(object_record&& object);
    const object_record* read_object(uint32_t* type) const;
    template <typename T>
    status_t write_plain(T val);
    template <typename T>
    status_t read_plain(T* val) const;
    template <typename T>
    T read_or_zero() const;
    template <typename T, typename Write>
    status_t write_vector(const std::vector<T>& val, Write write);
    template <typename T, typename Read>
    status_t read_vector(std::vector<T>* val, Read read) const;

    uint8_t* mData = nullptr;
    size_t mDataSize = 0;
    size_t mDataCapacity = 0;
    mutable size_t mDataPos = 0;
    status_t mError = NO_ERROR;
    bool mAllowFds = true;
    // Sorted by offset.
    std::vector<object_record> mObjects;
};

template <typename T>
status_t Parcel::readStrongBinder(sp<T>* val) const {
    sp<IBinder> binder;
    const status_t status = readStrongBinder(&binder);
    if (status == NO_ERROR) {
        *val = interface_cast<T>(binder);
        return *val != nullptr ? static_cast<status_t>(NO_ERROR) : UNKNOWN_ERROR;
    }
    return status;
}

}  // namespace android

#pragma GCC visibility pop
