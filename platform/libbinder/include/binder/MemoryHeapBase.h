// A heap of this process. Sizes are rounded up to whole pages.
#pragma once

#include <stdint.h>
#include <stdlib.h>

#include <binder/IMemory.h>

#pragma GCC visibility push(default)

namespace android {

class MemoryHeapBase : public virtual BnMemoryHeap {
  public:
    enum {
        READ_ONLY = IMemoryHeap::READ_ONLY,  // for the other processes; this one may write
        DONT_MAP_LOCALLY = 0x00000100,
        NO_CACHING = 0x00000200
    };

    // What fails leaves getHeapID() negative and getBase() at MAP_FAILED, with one log line.
    //
    // Maps a duplicate of fd, all of it where size is 0. Other processes map it only if it is a
    // memfd sealed against shrinking and growing.
    MemoryHeapBase(int fd, size_t size, uint32_t flags = 0, uint32_t offset = 0);
    // Maps a file or a device; of no use to other processes.
    explicit MemoryHeapBase(const char* device, size_t size = 0, uint32_t flags = 0);
    // New memory, of zeros.
    explicit MemoryHeapBase(size_t size, uint32_t flags = 0, const char* name = nullptr);

    ~MemoryHeapBase() override;

    int getHeapID() const override;
    void* getBase() const override;
    size_t getSize() const override;
    uint32_t getFlags() const override;
    uint32_t getOffset() const override;

    const char* getDevice() const;

    // Gives the memory back before the last reference goes.
    void dispose();

    status_t setDevice(const char* device) {
        if (mDevice == nullptr) {
            mDevice = device;
        }
        return mDevice != nullptr ? static_cast<status_t>(NO_ERROR) : ALREADY_EXISTS;
    }

  protected:
    MemoryHeapBase();
    // For subclasses with memory of their own; takes fd.
    status_t init(int fd, void* base, size_t size, int flags = 0, const char* device = nullptr);

  private:
    status_t mapfd(int fd, size_t size, uint32_t offset = 0);

    int mFD = -1;
    size_t mSize = 0;
    void* mBase = MAP_FAILED;
    uint32_t mFlags = 0;
    const char* mDevice = nullptr;
    bool mNeedUnmap = false;
    uint32_t mOffset = 0;
};

}  // namespace android

#pragma GCC visibility pop
