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
#include <utils/Mutex.h>

#include "log.h"

namespace android {

using namespace corvex_binder;

namespace {

constexpr uint32_t kGetMemory = IBinder::FIRST_CALL_TRANSACTION;

// With these nobody can take away what is mapped: touching it never raises SIGBUS.
constexpr int kNeededSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// Whole pages; 0 when there is no such size.
size_t whole_pages(size_t size) {
    const auto page = static_cast<size_t>(getpagesize());
    return size <= SIZE_MAX - (page - 1) ? (size + page - 1) & ~(page - 1) : 0;
}

bool lies_within(uint64_t heap_size, int64_t offset, uint64_t size) {
    return offset >= 0 && static_cast<uint64_t>(offset) <= heap_size &&
           size <= heap_size - static_cast<uint64_t>(offset);
}

// Why a heap of another process cannot be mapped; null when it can.
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
        const Mutex::Autolock lock(mutex_);
        if (part_ == nullptr) {
            ask();
        }
        const sp<IMemory> part = part_ != nullptr ? part_ : new MemoryBase(nullptr, 0, 0);
        return part->getMemory(offset, size);
    }

  private:
    void ask() const REQUIRES(mutex_);
    const char* map(const Parcel& reply) const REQUIRES(mutex_);

    mutable Mutex mutex_;
    mutable sp<IMemory> part_ GUARDED_BY(mutex_);
};

void BpMemory::ask() const {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IMemory::getInterfaceDescriptor());
    if (remote()->transact(kGetMemory, data, &reply) == NO_ERROR) {
        if (const char* fault = map(reply)) {
            complain(caller_complaints(), "a memory of another process is not used: %s", fault);
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
    if (!lies_within(heap_size, offset, size)) {
        return "it lies outside its heap";
    }
    const sp<IMemoryHeap> heap = new MemoryHeapBase(fd, static_cast<size_t>(heap_size), flags);
    if (heap->getBase() == MAP_FAILED) {
        return "it cannot be mapped";
    }
    part_ = new MemoryBase(heap, static_cast<ssize_t>(offset), static_cast<size_t>(size));
    return nullptr;
}

}  // namespace

IMPLEMENT_META_INTERFACE(Memory, "android.utils.IMemory")

void* IMemory::pointer() const {
    ssize_t offset = 0;
    size_t size = 0;
    const sp<IMemoryHeap> heap = getMemory(&offset, &size);
    if (heap == nullptr || heap->getBase() == MAP_FAILED ||
        !lies_within(heap->getSize(), offset, size)) {
        return nullptr;
    }
    return static_cast<uint8_t*>(heap->getBase()) + offset;
}

size_t IMemory::size() const {
    size_t size = 0;
    getMemory(nullptr, &size);
    return size;
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
    const char* fault = make(whole_pages(size), name != nullptr ? name : "MemoryHeapBase");
    if (fault != nullptr) {
        BINDER_LOG(ERROR, "a heap of %zu bytes cannot be made: %s: %s", size, fault,
                   strerror(errno));
        dispose();
    }
}

MemoryHeapBase::MemoryHeapBase(int fd, size_t size, uint32_t flags)
    : mFD(fcntl(fd, F_DUPFD_CLOEXEC, 0)), mFlags(flags) {
    map(size, (flags & READ_ONLY) != 0 ? PROT_READ : PROT_READ | PROT_WRITE);
}

MemoryHeapBase::~MemoryHeapBase() {
    dispose();
}

// What has failed, with errno set; null where nothing has.
const char* MemoryHeapBase::make(size_t size, const char* name) {
    mFD = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (mFD < 0) {
        return "memfd_create";
    }
    if (size == 0 || size > PTRDIFF_MAX) {
        errno = EINVAL;
        return "the size is 0 or too large";
    }
    if (ftruncate(mFD, static_cast<off_t>(size)) != 0) {
        return "ftruncate";
    }
    if (!map(size, PROT_READ | PROT_WRITE)) {
        return "mmap";
    }
    // Since Linux 5.1. The mapping that there is stays writable.
    if ((mFlags & READ_ONLY) != 0 && fcntl(mFD, F_ADD_SEALS, F_SEAL_FUTURE_WRITE) != 0) {
        BINDER_LOG(WARN, "this kernel cannot keep other processes from writing to a heap");
    }
    return fcntl(mFD, F_ADD_SEALS, kNeededSeals | F_SEAL_SEAL) == 0 ? nullptr : "sealing";
}

bool MemoryHeapBase::map(size_t size, int protection) {
    mBase = mmap(nullptr, size, protection, MAP_SHARED, mFD, 0);
    mSize = mBase != MAP_FAILED ? size : 0;
    return mBase != MAP_FAILED;
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
