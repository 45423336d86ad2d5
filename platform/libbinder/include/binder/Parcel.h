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

#include <stddef.h>
#include <stdint.h>
#include <vector>

#include <binder/IInterface.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

namespace android::corvex_binder {
struct parcel_access;
struct parcel_object;
}  // namespace android::corvex_binder

namespace android {

class BINDER_EXPORT Parcel {
  public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    const uint8_t* data() const { return mData; }
    size_t dataSize() const { return mDataSize; }
    size_t dataAvail() const { return mDataPos < mDataSize ? mDataSize - mDataPos : 0; }
    size_t dataPosition() const { return mDataPos; }
    // A position past the end reads nothing; at most 2 GiB.
    void setDataPosition(size_t pos) const;

    // Replaces all by a copy of these bytes, which hold no objects.
    status_t setData(const uint8_t* buffer, size_t len);
    // Empties the parcel.
    void freeData();

    size_t objectsCount() const;
    status_t errorCheck() const { return mError; }
    void setError(status_t err) { mError = err; }

    status_t writeInterfaceToken(const String16& interface);
    // Whether the parcel starts with the token of the object's interface; reads it.
    bool checkInterface(IBinder* binder) const;

    status_t write(const void* data, size_t len);
    // Room for len bytes; null when there is none.
    void* writeInplace(size_t len);
    status_t writeInt32(int32_t val) { return write(&val, sizeof val); }
    status_t writeUint32(uint32_t val) { return write(&val, sizeof val); }
    status_t writeInt64(int64_t val) { return write(&val, sizeof val); }
    status_t writeUint64(uint64_t val) { return write(&val, sizeof val); }
    status_t writeBool(bool val) { return writeInt32(val ? 1 : 0); }
    status_t writeString16(const String16& str);

    status_t writeStrongBinder(const sp<IBinder>& val);
    // With takeOwnership the parcel closes fd, else fd must stay open while the parcel lives.
    status_t writeFileDescriptor(int fd, bool takeOwnership = false);
    status_t writeDupFileDescriptor(int fd);

    status_t read(void* outData, size_t len) const;
    // len bytes of the parcel itself, valid while it is not changed; null when there are fewer.
    const void* readInplace(size_t len) const;
    // Those with an argument leave it alone unless they succeed.
    int32_t readInt32() const { return read_or_zero<int32_t>(); }
    status_t readInt32(int32_t* pArg) const { return read(pArg, sizeof *pArg); }
    uint32_t readUint32() const { return read_or_zero<uint32_t>(); }
    status_t readUint32(uint32_t* pArg) const { return read(pArg, sizeof *pArg); }
    int64_t readInt64() const { return read_or_zero<int64_t>(); }
    status_t readInt64(int64_t* pArg) const { return read(pArg, sizeof *pArg); }
    uint64_t readUint64() const { return read_or_zero<uint64_t>(); }
    status_t readUint64(uint64_t* pArg) const { return read(pArg, sizeof *pArg); }
    bool readBool() const { return readInt32() != 0; }
    String16 readString16() const;
    status_t readString16(String16* pArg) const;

    sp<IBinder> readStrongBinder() const;
    // BAD_TYPE when there is no object.
    status_t readNullableStrongBinder(sp<IBinder>* val) const;
    // The parcel's own descriptor, or a negative status.
    int readFileDescriptor() const;

  private:
    friend struct corvex_binder::parcel_access;
    using object_record = corvex_binder::parcel_object;

    // What most calls fit in, so that they need no heap.
    static constexpr size_t kInlineBytes = 256;

    template <typename T>
    T read_or_zero() const {
        T val = 0;
        read(&val, sizeof val);
        return val;
    }
    status_t reserve(size_t capacity);
    status_t write_object(object_record&& object);
    const object_record* read_object() const;

    alignas(8) uint8_t mInline[kInlineBytes];
    uint8_t* mData = mInline;
    size_t mDataSize = 0;
    size_t mDataCapacity = kInlineBytes;
    mutable size_t mDataPos = 0;
    status_t mError = NO_ERROR;
    // Sorted by offset.
    std::vector<object_record> mObjects;
};

}  // namespace android
