// Heaps, which are sealed memfds, and parts of them: of this process, and mapped from others.

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <binder/IMemory.h>
#include <binder/MemoryBase.h>
#include <binder/MemoryHeapBase.h>
#include <binder/Parcel.h>

#include "guarded.h"
#include "log.h"
#include "unique_fd.h"

namespace android {

using corvex_binder::complain;
using corvex_binder::complaint;
using corvex_binder::guard_lock;
using corvex_binder::guard_mutex;
using corvex_binder::unique_fd;

namespace {

constexpr uint32_t kGetMemory = IBinder::FIRST_CALL_TRANSACTION;

// With these nobody can take away what is mapped: touching it never raises SIGBUS.
constexpr int kNeededSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// Since Linux 5.1: mappings made before it stay writable, later ones cannot be.
#ifdef F_SEAL_FUTURE_WRITE
constexpr int kReadOnlySeal = F_SEAL_FUTURE_WRITE;
#else
constexpr int kReadOnlySeal = 0x0010;
#endif

void note_failure(const char* what, size_t size) {
    BINDER_LOG(ERROR, "a heap of %zu bytes cannot be made: %s: %s", size, what, strerror(errno));
}

// Whole pages; 0 when there is no such size.
size_t whole_pages(size_t size) {
    const auto page = static_cast<size_t>(getpagesize());
    return size <= SIZE_MAX - (page - 1) ? (size + page - 1) & ~(page - 1) : 0;
}

// A heap of another process.
class mapped_heap : public IMemoryHeap {
  public:
    mapped_heap(unique_fd&& fd, size_t size, uint32_t flags)
        : fd_(std::move(fd)),
          base_(mmap(nullptr, size, (flags & READ_ONLY) != 0 ? PROT_READ : PROT_READ | PROT_WRITE,
                     MAP_SHARED, fd_.get(), 0)),
          size_(size),
          flags_(flags) {}

    int getHeapID() const override { return fd_.get(); }
    void* getBase() const override { return base_; }
    size_t getSize() const override { return size_; }
    uint32_t getFlags() const override { return flags_; }

  protected:
    ~mapped_heap() override {
        if (base_ != MAP_FAILED) {
            munmap(base_, size_);
        }
    }

  private:
    const unique_fd fd_;
    void* const base_;
    const size_t size_;
    const uint32_t flags_;
};

// Why such a heap cannot be mapped; null when it can.
const char* find_fault(int fd, uint64_t size) {
    struct stat file = {};
    const int seals = fcntl(fd, F_GET_SEALS);
    if (seals < 0 || fstat(fd, &file) != 0) {
        return "its descriptor is not a memfd";
    }
    if ((seals & kNeededSeals) != kNeededSeals) {
        return "its memfd is not sealed against shrinking and growing";
    }
    return size == 0 || size > SIZE_MAX || size > static_cast<uint64_t>(file.st_size)
               ? "its size is 0, or its memfd is shorter than it says"
               : nullptr;
}

class BpMemory : public BpInterface<IMemory> {
  public:
    explicit BpMemory(const sp<IBinder>& remote) : BpInterface<IMemory>(remote) {}

    sp<IMemoryHeap> getMemory(ssize_t* offset, size_t* size) const override {
        const guard_lock lock(mutex_);
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
    void ask() const BINDER_REQUIRES(mutex_);
    const char* map(const Parcel& reply) const BINDER_REQUIRES(mutex_);

    mutable guard_mutex mutex_;
    mutable sp<IMemoryHeap> heap_ BINDER_GUARDED_BY(mutex_);
    mutable ssize_t offset_ BINDER_GUARDED_BY(mutex_) = 0;
    mutable size_t size_ BINDER_GUARDED_BY(mutex_) = 0;
};

void BpMemory::ask() const {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IMemory::getInterfaceDescriptor());
    if (remote()->transact(kGetMemory, data, &reply) == NO_ERROR) {
        const char* fault = map(reply);
        if (fault != nullptr) {
            complain(complaint::bad_heap, "a memory of another process is not used: %s", fault);
        }
    }
}

// Why the answer is not a memory that can be used; null where it is.
const char* BpMemory::map(const Parcel& reply) const {
    const int fd = reply.readFileDescriptor();
    uint64_t heap_size = 0;
    uint32_t flags = 0;
    int64_t offset = 0;
    uint64_t size = 0;
    if (fd < 0 || reply.readUint64(&heap_size) != NO_ERROR ||
        reply.readUint32(&flags) != NO_ERROR || reply.readInt64(&offset) != NO_ERROR ||
        reply.readUint64(&size) != NO_ERROR) {
        return "its answer is malformed";
    }
    if (const char* fault = find_fault(fd, heap_size)) {
        return fault;
    }
    if (offset < 0 || static_cast<uint64_t>(offset) > heap_size ||
        size > heap_size - static_cast<uint64_t>(offset)) {
        return "it lies outside its heap";
    }
    const sp<IMemoryHeap> heap =
        new mapped_heap(unique_fd::duplicate(fd), static_cast<size_t>(heap_size), flags);
    if (heap->getBase() == MAP_FAILED) {
        return "it cannot be mapped";
    }
    heap_ = heap;
    offset_ = static_cast<ssize_t>(offset);
    size_ = static_cast<size_t>(size);
    return nullptr;
}

}  // namespace

IMPLEMENT_META_INTERFACE(Memory, "android.utils.IMemory")

void* IMemory::pointer() const {
    ssize_t offset = 0;
    size_t size = 0;
    const sp<IMemoryHeap> heap = getMemory(&offset, &size);
    if (heap == nullptr || heap->getBase() == MAP_FAILED || offset < 0 ||
        static_cast<size_t>(offset) > heap->getSize() ||
        size > heap->getSize() - static_cast<size_t>(offset)) {
        return nullptr;
    }
    return static_cast<uint8_t*>(heap->getBase()) + offset;
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

status_t BnMemory::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if (code != kGetMemory) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    CHECK_INTERFACE(IMemory, data, reply);
    ssize_t offset = 0;
    size_t size = 0;
    const sp<IMemoryHeap> heap = getMemory(&offset, &size);
    if (heap == nullptr || heap->getHeapID() < 0) {
        return NO_INIT;
    }
    const status_t status = reply->writeDupFileDescriptor(heap->getHeapID());
    reply->writeUint64(heap->getSize());
    reply->writeUint32(heap->getFlags());
    reply->writeInt64(offset);
    reply->writeUint64(size);
    return status;
}

sp<IMemoryHeap> MemoryBase::getMemory(ssize_t* offset, size_t* size) const {
    if (offset != nullptr) {
        *offset = mOffset;
    }
    if (size != nullptr) {
        *size = mSize;
    }
    return mHeap;
}

MemoryHeapBase::MemoryHeapBase(size_t size, uint32_t flags, const char* name) : mFlags(flags) {
    const size_t bytes = whole_pages(size);
    unique_fd fd(
        memfd_create(name != nullptr ? name : "MemoryHeapBase", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd.valid()) {
        note_failure("memfd_create", size);
        return;
    }
    if (bytes == 0 || bytes > PTRDIFF_MAX) {
        errno = EINVAL;
        note_failure("the size is 0 or too large", size);
        return;
    }
    if (ftruncate(fd.get(), static_cast<off_t>(bytes)) != 0) {
        note_failure("ftruncate", size);
        return;
    }
    void* base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (base == MAP_FAILED) {
        note_failure("mmap", size);
        return;
    }
    mBase = base;
    mSize = bytes;
    if ((flags & READ_ONLY) != 0 && fcntl(fd.get(), F_ADD_SEALS, kReadOnlySeal) != 0) {
        BINDER_LOG(WARN, "this kernel cannot keep other processes from writing to a heap");
    }
    if (fcntl(fd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        note_failure("sealing", size);
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
