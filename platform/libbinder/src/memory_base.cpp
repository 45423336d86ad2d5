// A part of a heap: local and remote, where the heap is mapped.

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <binder/IMemory.h>
#include <binder/MemoryBase.h>
#include <binder/Parcel.h>

#include "log.h"
#include "proxy.h"
#include "unique_fd.h"

namespace android {

using corvex_binder::complain;
using corvex_binder::complaint;
using corvex_binder::unique_fd;

namespace {

constexpr uint32_t kGetMemory = IBinder::FIRST_CALL_TRANSACTION;

// With these nobody can take away what is mapped: touching it never raises SIGBUS.
constexpr int kNeededSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// Whether a heap of this size holds all of the part.
bool holds(size_t heap_size, ssize_t offset, size_t size) {
    return offset >= 0 && static_cast<size_t>(offset) <= heap_size &&
           size <= heap_size - static_cast<size_t>(offset);
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

// What another process's memory is: kept at its proxy.
struct remote_part : public RefBase {
    sp<IMemoryHeap> heap;
    ssize_t offset = 0;
    size_t size = 0;
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

// Null, with a line in the log, where the answer is not a memory that can be used.
sp<remote_part> map(const Parcel& reply) {
    const int fd = reply.readFileDescriptor();
    uint64_t heap_size = 0;
    uint32_t flags = 0;
    int64_t offset = 0;
    uint64_t size = 0;
    const char* fault = "its answer is malformed";
    if (fd >= 0 && reply.readUint64(&heap_size) == NO_ERROR &&
        reply.readUint32(&flags) == NO_ERROR && reply.readInt64(&offset) == NO_ERROR &&
        reply.readUint64(&size) == NO_ERROR) {
        fault = find_fault(fd, heap_size);
    }
    if (fault == nullptr && (offset > SSIZE_MAX || size > SIZE_MAX ||
                             !holds(static_cast<size_t>(heap_size), static_cast<ssize_t>(offset),
                                    static_cast<size_t>(size)))) {
        fault = "it lies outside its heap";
    }
    sp<remote_part> part = new remote_part;
    if (fault == nullptr) {
        part->heap =
            new mapped_heap(unique_fd::duplicate(fd), static_cast<size_t>(heap_size), flags);
        part->offset = static_cast<ssize_t>(offset);
        part->size = static_cast<size_t>(size);
        fault = part->heap->getBase() == MAP_FAILED ? "it cannot be mapped" : nullptr;
    }
    if (fault != nullptr) {
        complain(complaint::bad_heap, "a memory of another process is not used: %s", fault);
        return nullptr;
    }
    return part;
}

class BpMemory : public BpInterface<IMemory> {
  public:
    explicit BpMemory(const sp<IBinder>& remote) : BpInterface<IMemory>(remote) {}

    sp<IMemoryHeap> getMemory(ssize_t* offset, size_t* size) const override {
        const sp<remote_part> part = ask();
        if (offset != nullptr) {
            *offset = part != nullptr ? part->offset : 0;
        }
        if (size != nullptr) {
            *size = part != nullptr ? part->size : 0;
        }
        return part != nullptr ? part->heap : nullptr;
    }

  private:
    sp<remote_part> ask() const;
};

sp<remote_part> BpMemory::ask() const {
    const BpBinder* proxy = remote()->remoteBinder();
    if (proxy == nullptr) {
        return nullptr;  // an object of this process that is no memory
    }
    corvex_binder::proxy_state& state = corvex_binder::proxy_access::state(*proxy);
    {
        const corvex_binder::guard_lock lock(state.mutex);
        if (state.attached != nullptr) {
            return static_cast<remote_part*>(state.attached.get());
        }
    }
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IMemory::getInterfaceDescriptor());
    if (remote()->transact(kGetMemory, data, &reply) != NO_ERROR) {
        return nullptr;
    }
    sp<remote_part> part = map(reply);
    const corvex_binder::guard_lock lock(state.mutex);
    // Another thread may have asked meanwhile.
    if (state.attached == nullptr) {
        state.attached = part;
    }
    return static_cast<remote_part*>(state.attached.get());
}

}  // namespace

IMPLEMENT_META_INTERFACE(Memory, "android.utils.IMemory")

void* IMemory::pointer() const {
    ssize_t offset = 0;
    size_t size = 0;
    const sp<IMemoryHeap> heap = getMemory(&offset, &size);
    if (heap == nullptr || heap->getBase() == MAP_FAILED || !holds(heap->getSize(), offset, size)) {
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

}  // namespace android
