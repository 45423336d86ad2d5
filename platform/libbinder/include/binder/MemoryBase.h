// A part of a heap, as an object of this process.
#pragma once

#include <stdint.h>
#include <stdlib.h>

#include <binder/IMemory.h>

#pragma GCC visibility push(default)

namespace android {

class MemoryBase : public BnMemory {
  public:
    MemoryBase(const sp<IMemoryHeap>& heap, ssize_t offset, size_t size);
    ~MemoryBase() override;
    sp<IMemoryHeap> getMemory(ssize_t* offset, size_t* size) const override;

  protected:
    size_t getSize() const { return mSize; }
    ssize_t getOffset() const { return mOffset; }
    const sp<IMemoryHeap>& getHeap() const { return mHeap; }

  private:
    const size_t mSize;
    const ssize_t mOffset;
    const sp<IMemoryHeap> mHeap;
};

}  // namespace android

#pragma GCC visibility pop
