// Memory that processes share: a heap is one mapping, a memory is a part of it.
//
// The heap of another process's memory is mapped when that is first used, once however many proxies
// of it there are, and stays until the last of them, and of its references, goes. Only a sealed
// memfd that is large enough is mapped: nobody can make it shorter afterwards.
#pragma once

#include <stdint.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <binder/IInterface.h>

namespace android {

class BINDER_EXPORT IMemoryHeap : public virtual RefBase {
  public:
    // Of getFlags().
    enum { READ_ONLY = 0x00000001 };

    // The descriptor, which stays the heap's; negative when there is no memory.
    virtual int getHeapID() const = 0;
    // MAP_FAILED when there is no memory.
    virtual void* getBase() const = 0;
    virtual size_t getSize() const = 0;
    virtual uint32_t getFlags() const = 0;
};

class BINDER_EXPORT IMemory : public IInterface {
  public:
    DECLARE_META_INTERFACE(Memory)

    // The heap, and which part of it; null when it cannot be had, with offset and size 0.
    virtual sp<IMemoryHeap> getMemory(ssize_t* offset = nullptr, size_t* size = nullptr) const = 0;

    // Null when there is no memory, or the heap does not hold all of this part.
    void* pointer() const;
    size_t size() const;
};

class BINDER_EXPORT BnMemory : public BnInterface<IMemory> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android
