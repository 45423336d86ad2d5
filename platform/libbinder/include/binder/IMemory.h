// Memory that processes share: a heap is one mapping, a memory is a part of it.
//
// A heap of another process is mapped when it is first used, once a process however many proxies
// there are, and stays until the last of them goes. Only a sealed memfd that is large enough is
// mapped: nobody can make it shorter afterwards.
#pragma once

#include <stdint.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <binder/IInterface.h>

#pragma GCC visibility push(default)

namespace android {

class IMemoryHeap : public IInterface {
  public:
    DECLARE_META_INTERFACE(MemoryHeap)

    // Of getFlags().
    enum { READ_ONLY = 0x00000001 };

    // The descriptor, which stays the heap's; negative when there is no memory.
    virtual int getHeapID() const = 0;
    // MAP_FAILED when there is no memory.
    virtual void* getBase() const = 0;
    virtual size_t getSize() const = 0;
    virtual uint32_t getFlags() const = 0;
    virtual uint32_t getOffset() const = 0;

    int32_t heapID() const { return getHeapID(); }
    void* base() const { return getBase(); }
    size_t virtualSize() const { return getSize(); }
};

class BnMemoryHeap : public BnInterface<IMemoryHeap> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
    BnMemoryHeap();

  protected:
    ~BnMemoryHeap() override;
};

class IMemory : public IInterface {
  public:
    DECLARE_META_INTERFACE(Memory)

    // The heap, and which part of it; null when it cannot be had, with offset and size 0.
    virtual sp<IMemoryHeap> getMemory(ssize_t* offset = nullptr, size_t* size = nullptr) const = 0;

    // An address in the heap behind this object; null when that has none there.
    void* fastPointer(const sp<IBinder>& heap, ssize_t offset) const;
    // Null when there is no memory, or the heap does not hold all of this part.
    void* pointer() const;
    size_t size() const;
    ssize_t offset() const;
};

class BnMemory : public BnInterface<IMemory> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
    BnMemory();

  protected:
    ~BnMemory() override;
};

}  // namespace android

#pragma GCC visibility pop
