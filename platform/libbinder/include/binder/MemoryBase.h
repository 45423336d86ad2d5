// A part of a heap, as an object of this process.
#pragma once

#include <binder/IMemory.h>

namespace android {

class BINDER_EXPORT MemoryBase : public BnMemory {
  public:
    MemoryBase(const sp<IMemoryHeap>& heap, ssize_t offset, size_t size)
        : mSize(size), mOffset(offset), mHeap(heap) {}
    sp<IMemoryHeap> getMemory(ssize_t* offset, size_t* size) const override;

  private:
    const size_t mSize;
    const ssize_t mOffset;
    const sp<IMemoryHeap> mHeap;
};

}  // namespace android
