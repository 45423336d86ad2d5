// A heap of this process.

#include <cerrno>
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

MemoryHeapBase::MemoryHeapBase(size_t size, uint32_t flags, const char* name) : mFlags(flags) {
    const size_t bytes = whole_pages(size);
    unique_fd fd(
        memfd_create(name != nullptr ? name : "MemoryHeapBase", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd.valid()) {
        complain("memfd_create", size);
        return;
    }
    if (bytes == 0 || bytes > INT64_MAX) {
        errno = EINVAL;
        complain("the size is 0 or too large", size);
        return;
    }
    if (ftruncate(fd.get(), static_cast<off_t>(bytes)) != 0) {
        complain("ftruncate", size);
        return;
    }
    void* base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (base == MAP_FAILED) {
        complain("mmap", size);
        return;
    }
    mBase = base;
    mSize = bytes;
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

MemoryHeapBase::~MemoryHeapBase() {
    dispose();
}

void MemoryHeapBase::dispose() {
    if (mBase != MAP_FAILED) {
        munmap(mBase, mSize);
    }
    mBase = MAP_FAILED;
    mSize = 0;
    if (mFD >= 0) {
        close(mFD);
        mFD = -1;
    }
}

}  // namespace android
