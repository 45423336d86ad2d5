#include "tests/platform/binder_probe.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include <binder/IMemory.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/MemoryBase.h>
#include <binder/MemoryHeapBase.h>

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;

namespace {

std::atomic<int> probes_alive{0};

constexpr std::chrono::seconds kPatience(60);

// Takes away what a new thread, or a new descriptor, needs; or gives it back.
void starve(int32_t what) {
    const auto limit = [](auto which, rlim_t most) {
        rlimit now = {};
        getrlimit(which, &now);
        now.rlim_cur = std::min(most, now.rlim_max);
        setrlimit(which, &now);
    };
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t used = pages * static_cast<size_t>(getpagesize());
    limit(RLIMIT_AS, what == kNoThreads ? used + (512 << 10) : RLIM_INFINITY);
    limit(RLIMIT_NOFILE, what == kNoDescriptors ? 1 : RLIM_INFINITY);
}

// Answers like a memory, with a descriptor that cannot be trusted.
class forged_memory : public android::BBinder {
  public:
    explicit forged_memory(heap_forgery forgery) : forgery_(forgery) {}

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code != IBinder::FIRST_CALL_TRANSACTION) {
            return android::BBinder::onTransact(code, data, reply, flags);
        }
        constexpr uint64_t size = 65536;
        int fd = -1;
        if (forgery_ == kRegularFile) {
            fd = open("forged", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        } else {
            fd = memfd_create("forged", MFD_CLOEXEC | MFD_ALLOW_SEALING);
        }
        if (ftruncate(fd, forgery_ == kShortMemfd ? size / 2 : size) != 0) {
            return android::UNKNOWN_ERROR;
        }
        if (forgery_ >= kShortMemfd) {
            fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW);
        }
        if (forgery_ == kNoDescriptor) {
            close(fd);
            reply->writeInt32(0);
        } else {
            reply->writeFileDescriptor(fd, true);
        }
        reply->writeUint64(size);
        reply->writeUint32(0);
        reply->writeInt64(forgery_ == kOutsideHeap ? 4096 : 0);
        return reply->writeUint64(size);
    }

  private:
    const heap_forgery forgery_;
};

}  // namespace

int count_entries(const char* folder) {
    DIR* entries = opendir((std::string("/proc/self/") + folder).c_str());
    int count = 0;
    while (readdir(entries) != nullptr) {
        ++count;
    }
    closedir(entries);
    return count - 2;
}

probe::probe() {
    ++probes_alive;
}

probe::~probe() {
    --probes_alive;
}

int probe::alive() {
    return probes_alive;
}

std::vector<int32_t> probe::notes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return notes_;
}

status_t probe::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    switch (code) {
        case kEcho:
            reply->writeInt32(data.readInt32());
            return reply->writeString16(data.readString16());
        case kFail:
            reply->writeInt32(1);
            return data.readInt32();
        case kCaller: {
            const auto* thread = android::IPCThreadState::self();
            reply->writeInt32(thread->getCallingPid());
            return reply->writeInt32(static_cast<int32_t>(thread->getCallingUid()));
        }
        case kBlock: {
            std::unique_lock<std::mutex> lock(mutex_);
            changed_.wait_for(lock, kPatience, [this] { return unblocked_; });
            return android::NO_ERROR;
        }
        case kUnblock: {
            const std::lock_guard<std::mutex> lock(mutex_);
            unblocked_ = true;
            changed_.notify_all();
            return android::NO_ERROR;
        }
        case kNote: {
            std::unique_lock<std::mutex> lock(mutex_);
            noted_at_once_ = noted_at_once_ || noting_ > 0;
            ++noting_;
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
            --noting_;
            notes_.push_back(data.readInt32());
            return android::NO_ERROR;
        }
        case kNotes: {
            const std::lock_guard<std::mutex> lock(mutex_);
            reply->writeInt32(static_cast<int32_t>(notes_.size()));
            reply->writeBool(std::is_sorted(notes_.begin(), notes_.end()));
            return reply->writeBool(noted_at_once_);
        }
        case kExit:
            exit(0);
        case kOpenFiles:
            reply->writeInt32(count_entries("fd"));
            return reply->writeInt32(count_entries("task"));
        case kStarve:
            starve(data.readInt32());
            return android::NO_ERROR;
        case kReplyBytes: {
            const std::vector<uint8_t> bytes(static_cast<size_t>(data.readInt32()), 0x5a);
            return reply->write(bytes.data(), bytes.size());
        }
        case kFillHeap:
        case kMakeMemory:
        case kForgeHeap:
            return serve_memory(code, data, reply);
        case kKeep:
        case kDrop:
        case kKept:
        case kAskKept:
        case kIsMe:
        case kMakeObject:
        case kObjects:
        case kNest:
        case kLookUp:
        case kWatch:
        case kDeaths:
            return serve_objects(code, data, reply);
        default:
            return android::BBinder::onTransact(code, data, reply, flags);
    }
}

sp<IBinder> probe::kept() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return kept_;
}

void probe::exchange_kept(sp<IBinder> object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(kept_, object);
}

status_t probe::serve_objects(uint32_t code, const Parcel& data, Parcel* reply) {
    switch (code) {
        case kKeep:
            exchange_kept(data.readStrongBinder());
            return android::NO_ERROR;
        case kDrop:
            exchange_kept(nullptr);
            return android::NO_ERROR;
        case kKept:
            return reply->writeStrongBinder(kept());
        case kAskKept:
            return ask(kept(), kEcho, 0, "").status;
        case kIsMe:
            return reply->writeBool(data.readStrongBinder() == this);
        case kMakeObject:
            return reply->writeStrongBinder(new probe);
        case kObjects:
            return reply->writeInt32(alive());
        case kNest: {
            const int32_t depth = data.readInt32();
            const sp<IBinder> other = data.readStrongBinder();
            if (depth == 0 || other == nullptr) {
                return reply->writeInt32(0);
            }
            const answer deeper = ask(other, kNest, depth - 1, sp<IBinder>(this));
            reply->writeInt32(deeper.number() + 1);
            return deeper.status;
        }
        case kLookUp:
            return reply->writeStrongBinder(
                android::defaultServiceManager()->checkService(data.readString16()));
        case kWatch:
            return data.readStrongBinder()->linkToDeath(deaths_);
        case kDeaths:
            return reply->writeInt32(deaths_->count());
        default:
            return android::UNKNOWN_TRANSACTION;
    }
}

status_t probe::serve_memory(uint32_t code, const Parcel& data, Parcel* reply) {
    if (code == kForgeHeap) {
        return reply->writeStrongBinder(new forged_memory(heap_forgery{data.readInt32()}));
    }
    if (code == kMakeMemory) {
        const auto size = static_cast<size_t>(data.readInt32());
        const sp<android::MemoryHeapBase> heap =
            new android::MemoryHeapBase(size, data.readUint32());
        memset(heap->getBase(), 0x5a, size);
        return reply->writeStrongBinder(
            android::IInterface::asBinder(new android::MemoryBase(heap, 16, size - 16)));
    }
    const auto memory = android::interface_cast<android::IMemory>(data.readStrongBinder());
    if (memory == nullptr || memory->pointer() == nullptr) {
        return android::NO_MEMORY;
    }
    memset(memory->pointer(), data.readInt32(), memory->size());
    return reply->writeInt32(static_cast<int32_t>(memory->size()));
}

int death_counter::count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return count_;
}

bool death_counter::reaches(int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return count_ >= count; });
}

void death_counter::binderDied(const android::wp<IBinder>& /*who*/) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++count_;
    changed_.notify_all();
}
