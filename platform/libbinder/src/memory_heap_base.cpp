// A heap of this process.

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <binder/MemoryHeapBase.h>

#include "log.h"
#include "unique_fd.h"

namespace android {

using corvex_binder::unique_fd;

namespace {

// Since Linux 5.1: mappings made before it stay writable, later ones cannot be.
#ifdef F_SEAL_FUTURE_WRITE
constexpr int kReadOnlySeal = F_SEAL_FUTURE_WRITE;
#else
constexpr int kReadOnlySeal = 0x0010;
#endif

void complain(const char* what, size_t size) {
    BINDER_LOG(ERROR, "a heap of %zu bytes cannot be made: %s: %s", size, what, strerror(errno));
}

// Whole pages; 0 when there is no such size.
size_t whole_pages(size_t size) {
    const auto page = static_cast<size_t>(getpagesize());
    return size <= SIZE_MAX - (page - 1) ? (size + page - 1) & ~(page - 1) : 0;
}

}  // namespace

MemoryHeapBase::MemoryHeapBase() = default;

MemoryHeapBase::MemoryHeapBase(size_t size, uint32_t flags, const char* name) : mFlags(flags) {
    const size_t bytes = whole_pages(size);
    unique_fd fd(
        memfd_create(name != nullptr ? name : "MemoryHeapBase", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd.valid()) {
        complain("memfd_create", size);
        return;
    }
    if (bytes == 0 || bytes > PTRDIFF_MAX) {
        errno = EINVAL;
        complain("the size is 0 or too large", size);
        return;
    }
    if (ftruncate(fd.get(), static_cast<off_t>(bytes)) != 0) {
        complain("ftruncate", size);
        return;
    }
    if (mapfd(fd.get(), bytes) != NO_ERROR) {
        return;
    }
    if ((flags & READ_ONLY) != 0 && fcntl(fd.get(), F_ADD_SEALS, kReadOnlySeal) != 0) {
        BINDER_LOG(WARN, "this kernel cannot keep other processes from writing to a heap");
    }
    if (fcntl(fd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        complain("sealing", size);
        dispose();
        return;
    }
    mFD = fd.release();
}

MemoryHeapBase::MemoryHeapBase(const char* device, size_t size, uint32_t flags)
    : mFlags(flags), mDevice(device) {
    unique_fd fd(open(device, O_RDWR | O_CLOEXEC));
    if (!fd.valid()) {
        complain(device, size);
        return;
    }
    if (mapfd(fd.get(), size != 0 ? whole_pages(size) : 0) == NO_ERROR) {
        mFD = fd.release();
    }
}

MemoryHeapBase::MemoryHeapBase(int fd, size_t size, uint32_t flags, uint32_t offset)
    : mFlags(flags) {
    unique_fd copy = unique_fd::duplicate(fd);
    if (!copy.valid()) {
        complain("its descriptor", size);
        return;
    }
    if (mapfd(copy.get(), size != 0 ? whole_pages(size) : 0, offset) == NO_ERROR) {
        mFD = copy.release();
    }
}

status_t MemoryHeapBase::init(int fd, void* base, size_t size, int flags, const char* device) {
    unique_fd taken(fd);
    if (mFD >= 0) {
        return INVALID_OPERATION;
    }
    mFD = taken.release();
    mBase = base;
    mSize = size;
    mFlags = static_cast<uint32_t>(flags);
    mDevice = device;
    return NO_ERROR;
}

// Maps size bytes of fd, all of it where size is 0. Does not take fd.
status_t MemoryHeapBase::mapfd(int fd, size_t size, uint32_t offset) {
    if (size == 0) {
        struct stat file = {};
        if (fstat(fd, &file) != 0 || file.st_size <= off_t{offset}) {
            errno = EINVAL;
            complain("its file is empty", size);
            return BAD_VALUE;
        }
        const off_t rest = file.st_size - off_t{offset};
        size = static_cast<size_t>(rest);
        if (static_cast<uintmax_t>(rest) != size) {  // a 32-bit process cannot map it
            errno = EFBIG;
            complain("its file is too large", size);
            return BAD_VALUE;
        }
    }
    if ((mFlags & DONT_MAP_LOCALLY) == 0) {
        void* base = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
        if (base == MAP_FAILED) {
            const status_t status = -errno;
            complain("mmap", size);
            return status;
        }
        mBase = base;
        mNeedUnmap = true;
    }
    mSize = size;
    mOffset = offset;
    return NO_ERROR;
}

MemoryHeapBase::~MemoryHeapBase() {
    dispose();
}

void MemoryHeapBase::dispose() {
    if (mNeedUnmap) {
        munmap(mBase, mSize);
        mNeedUnmap = false;
    }
    mBase = MAP_FAILED;
    mSize = 0;
    if (mFD >= 0) {
        close(mFD);
        mFD = -1;
    }
}

int MemoryHeapBase::getHeapID() const {
    return mFD;
}

void* MemoryHeapBase::getBase() const {
    return mBase;
}

size_t MemoryHeapBase::getSize() const {
    return mSize;
}

uint32_t MemoryHeapBase::getFlags() const {
    return mFlags;
}

uint32_t MemoryHeapBase::getOffset() const {
    return mOffset;
}

const char* MemoryHeapBase::getDevice() const {
    return mDevice;
}

}  // namespace android
