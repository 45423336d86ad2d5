// A heap of this process: new memory, of zeros. Sizes are rounded up to whole pages.
#pragma once

#include <binder/IMemory.h>

#pragma GCC visibility push(default)

namespace android {

class MemoryHeapBase : public IMemoryHeap {
  public:
    // With READ_ONLY other processes cannot write; this one may. What fails leaves getHeapID()
    // negative and getBase() at MAP_FAILED, with one log line.
    explicit MemoryHeapBase(size_t size, uint32_t flags = 0, const char* name = nullptr);
    ~MemoryHeapBase() override;

    int getHeapID() const override { return mFD; }
    void* getBase() const override { return mBase; }
    size_t getSize() const override { return mSize; }
    uint32_t getFlags() const override { return mFlags; }

  private:
    void dispose();

    int mFD = -1;
    size_t mSize = 0;
    void* mBase = MAP_FAILED;
    const uint32_t mFlags;
};

}  // namespace android

#pragma GCC visibility pop
