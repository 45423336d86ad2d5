// A heap of this process: new memory, of zeros, or a mapping of what there is.
#pragma once

#include <binder/IMemory.h>

namespace android {

class BINDER_EXPORT MemoryHeapBase : public IMemoryHeap {
  public:
    // New memory, of whole pages. With READ_ONLY other processes cannot write; this one may. What
    // fails leaves getHeapID() negative and getBase() at MAP_FAILED, with one log line.
    explicit MemoryHeapBase(size_t size, uint32_t flags = 0, const char* name = nullptr);
    // Maps `size` bytes of what `fd` is, of which it keeps a copy. What fails leaves getBase() at
    // MAP_FAILED.
    MemoryHeapBase(int fd, size_t size, uint32_t flags = 0);
    ~MemoryHeapBase() override;

    int getHeapID() const override { return mFD; }
    void* getBase() const override { return mBase; }
    size_t getSize() const override { return mSize; }
    uint32_t getFlags() const override { return mFlags; }

  private:
    const char* make(size_t size, const char* name);
    bool map(size_t size, int protection);
    void dispose();

    int mFD = -1;
    size_t mSize = 0;
    void* mBase = MAP_FAILED;
    const uint32_t mFlags;
};

}  // namespace android
