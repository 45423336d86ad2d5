// The heap as an interface: its stub, and the proxy that maps it once a process.

#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

#include <binder/IMemory.h>
#include <binder/Parcel.h>

#include "log.h"
#include "unique_fd.h"

namespace android {

using corvex_binder::unique_fd;

namespace {

constexpr uint32_t kGetHeap = IBinder::FIRST_CALL_TRANSACTION;

// With these nobody can take away what is mapped: touching it never raises SIGBUS.
constexpr int kNeededSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// What hangs on the heap's proxy object while that lives, made by the first who asks.
struct mapped_heap {
    unique_fd fd;
    void* base = MAP_FAILED;  // MAP_FAILED for good where the other process offers no memory
    size_t size = 0;
    uint32_t flags = 0;
    uint32_t offset = 0;
    bool is_final = true;  // false where only this process was short of something
};

const char kHeapId = 0;
std::mutex mapping_mutex;

void unmap(const void* /*id*/, void* object, void* /*cookie*/) {
    auto* heap = static_cast<mapped_heap*>(object);
    if (heap->base != MAP_FAILED) {
        munmap(heap->base, heap->size);
    }
    delete heap;
}

// Why this heap cannot be mapped; null when it can.
const char* find_fault(const mapped_heap& heap) {
    struct stat file = {};
    const int seals = fcntl(heap.fd.get(), F_GET_SEALS);
    if (seals < 0 || fstat(heap.fd.get(), &file) != 0) {
        return "its descriptor is not a memfd";
    }
    if ((seals & kNeededSeals) != kNeededSeals) {
        return "its memfd is not sealed against shrinking and growing";
    }
    const auto page = static_cast<uint64_t>(getpagesize());
    if (heap.size == 0 || heap.offset % page != 0) {
        return "its size is 0 or its offset is not a multiple of the page size";
    }
    const auto file_bytes = static_cast<uint64_t>(file.st_size);
    if (heap.offset > file_bytes || heap.size > file_bytes - heap.offset) {
        return "its memfd is shorter than it says";
    }
    return nullptr;
}

// The parcel still owns the descriptor.
bool read_heap(const Parcel& reply, mapped_heap& heap) {
    const int fd = reply.readFileDescriptor();
    uint64_t size = 0;
    if (fd < 0 || reply.readUint64(&size) != NO_ERROR || size > SIZE_MAX ||
        reply.readUint32(&heap.flags) != NO_ERROR || reply.readUint32(&heap.offset) != NO_ERROR) {
        return false;
    }
    heap.size = static_cast<size_t>(size);
    heap.fd = unique_fd::duplicate(fd);
    heap.is_final = heap.fd.valid();
    return heap.fd.valid();
}

void map(const Parcel& reply, mapped_heap& heap) {
    const char* fault = "its answer does not hold together";
    if (read_heap(reply, heap)) {
        fault = find_fault(heap);
    }
    if (fault == nullptr) {
        const bool read_only = (heap.flags & IMemoryHeap::READ_ONLY) != 0;
        heap.base = mmap(nullptr, heap.size, read_only ? PROT_READ : PROT_READ | PROT_WRITE,
                         MAP_SHARED, heap.fd.get(), heap.offset);
        heap.is_final = heap.base != MAP_FAILED;
        fault = heap.base == MAP_FAILED ? "it cannot be mapped" : nullptr;
    }
    if (fault != nullptr) {
        BINDER_LOG(ERROR, "a heap of another process is not used: %s", fault);
        heap.fd.reset();
        heap.size = 0;
    }
}

class BpMemoryHeap : public BpInterface<IMemoryHeap> {
  public:
    explicit BpMemoryHeap(const sp<IBinder>& remote) : BpInterface<IMemoryHeap>(remote) {}

    int getHeapID() const override { return mapped().fd.get(); }
    void* getBase() const override { return mapped().base; }
    size_t getSize() const override { return mapped().size; }
    uint32_t getFlags() const override { return mapped().flags; }
    uint32_t getOffset() const override { return mapped().offset; }

  private:
    const mapped_heap& mapped() const;
};

const mapped_heap& BpMemoryHeap::mapped() const {
    static const auto* nothing = new mapped_heap;
    void* found = remote()->findObject(&kHeapId);
    if (found != nullptr) {
        return *static_cast<mapped_heap*>(found);
    }
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IMemoryHeap::getInterfaceDescriptor());
    if (remote()->transact(kGetHeap, data, &reply) != NO_ERROR) {
        return *nothing;
    }
    // Another thread may have asked meanwhile.
    const std::lock_guard<std::mutex> lock(mapping_mutex);
    found = remote()->findObject(&kHeapId);
    if (found == nullptr) {
        auto* heap = new mapped_heap;
        map(reply, *heap);
        if (!heap->is_final) {
            delete heap;
            return *nothing;
        }
        remote()->attachObject(&kHeapId, heap, nullptr, unmap);
        found = heap;
    }
    return *static_cast<mapped_heap*>(found);
}

}  // namespace

IMPLEMENT_META_INTERFACE(MemoryHeap, "android.utils.IMemoryHeap")

BnMemoryHeap::BnMemoryHeap() = default;
BnMemoryHeap::~BnMemoryHeap() = default;

status_t BnMemoryHeap::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                  uint32_t flags) {
    if (code != kGetHeap) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    CHECK_INTERFACE(IMemoryHeap, data, reply);
    const int fd = getHeapID();
    if (fd < 0) {
        return NO_INIT;
    }
    const status_t status = reply->writeDupFileDescriptor(fd);
    if (status != NO_ERROR) {
        return status;
    }
    reply->writeUint64(getSize());
    reply->writeUint32(getFlags());
    return reply->writeUint32(getOffset());
}

}  // namespace android
