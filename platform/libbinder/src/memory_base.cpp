// A part of a heap: local, remote, and the checks that both share.

#include <limits.h>
#include <mutex>

#include <binder/IMemory.h>
#include <binder/MemoryBase.h>
#include <binder/Parcel.h>

#include "log.h"

namespace android {

namespace {

constexpr uint32_t kGetMemory = IBinder::FIRST_CALL_TRANSACTION;

// Whether the heap holds all of the part.
bool holds(const IMemoryHeap& heap, ssize_t offset, size_t size) {
    const size_t heap_size = heap.getSize();
    return offset >= 0 && static_cast<size_t>(offset) <= heap_size &&
           size <= heap_size - static_cast<size_t>(offset);
}

class BpMemory : public BpInterface<IMemory> {
  public:
    explicit BpMemory(const sp<IBinder>& remote) : BpInterface<IMemory>(remote) {}

    sp<IMemoryHeap> getMemory(ssize_t* offset, size_t* size) const override {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (heap_ == nullptr) {
            ask();
        }
        if (offset != nullptr) {
            *offset = offset_;
        }
        if (size != nullptr) {
            *size = size_;
        }
        return heap_;
    }

  private:
    void ask() const;

    mutable std::mutex mutex_;
    mutable sp<IMemoryHeap> heap_;
    mutable ssize_t offset_ = 0;
    mutable size_t size_ = 0;
};

void BpMemory::ask() const {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IMemory::getInterfaceDescriptor());
    if (remote()->transact(kGetMemory, data, &reply) != NO_ERROR) {
        return;
    }
    sp<IBinder> binder;
    int64_t offset = 0;
    uint64_t size = 0;
    if (reply.readStrongBinder(&binder) != NO_ERROR || reply.readInt64(&offset) != NO_ERROR ||
        reply.readUint64(&size) != NO_ERROR) {
        return;
    }
    const sp<IMemoryHeap> heap = interface_cast<IMemoryHeap>(binder);
    if (offset < 0 || offset > SSIZE_MAX || size > SIZE_MAX ||
        !holds(*heap, static_cast<ssize_t>(offset), static_cast<size_t>(size))) {
        BINDER_LOG(ERROR, "a memory of another process lies outside its heap and is not used");
        return;
    }
    heap_ = heap;
    offset_ = static_cast<ssize_t>(offset);
    size_ = static_cast<size_t>(size);
}

}  // namespace

IMPLEMENT_META_INTERFACE(Memory, "android.utils.IMemory")

void* IMemory::fastPointer(const sp<IBinder>& heap, ssize_t offset) const {
    const sp<IMemoryHeap> real = interface_cast<IMemoryHeap>(heap);
    if (real == nullptr || real->base() == MAP_FAILED || !holds(*real, offset, 0)) {
        return nullptr;
    }
    return static_cast<uint8_t*>(real->base()) + offset;
}

void* IMemory::pointer() const {
    ssize_t offset = 0;
    size_t size = 0;
    const sp<IMemoryHeap> heap = getMemory(&offset, &size);
    if (heap == nullptr || heap->base() == MAP_FAILED || !holds(*heap, offset, size)) {
        return nullptr;
    }
    return static_cast<uint8_t*>(heap->base()) + offset;
}

size_t IMemory::size() const {
    size_t size = 0;
    getMemory(nullptr, &size);
    return size;
}

ssize_t IMemory::offset() const {
    ssize_t offset = 0;
    getMemory(&offset);
    return offset;
}

BnMemory::BnMemory() = default;
BnMemory::~BnMemory() = default;

status_t BnMemory::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if (code != kGetMemory) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    CHECK_INTERFACE(IMemory, data, reply);
    ssize_t offset = 0;
    size_t size = 0;
    reply->writeStrongBinder(IInterface::asBinder(getMemory(&offset, &size)));
    reply->writeInt64(offset);
    return reply->writeUint64(size);
}

MemoryBase::MemoryBase(const sp<IMemoryHeap>& heap, ssize_t offset, size_t size)
    : mSize(size), mOffset(offset), mHeap(heap) {}

MemoryBase::~MemoryBase() = default;

sp<IMemoryHeap> MemoryBase::getMemory(ssize_t* offset, size_t* size) const {
    if (offset != nullptr) {
        *offset = mOffset;
    }
    if (size != nullptr) {
        *size = mSize;
    }
    return mHeap;
}

}  // namespace android
