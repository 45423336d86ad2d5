// Shared memory.

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <unistd.h>

#include <binder/IMemory.h>
#include <binder/MemoryBase.h>
#include <binder/MemoryHeapBase.h>

#include "tests/platform/binder_fixture.h"

using android::IBinder;
using android::IMemory;
using android::IMemoryHeap;
using android::MemoryBase;
using android::MemoryHeapBase;
using android::sp;

namespace {

int mappings() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find("memfd:") != std::string::npos;
    }
    return count;
}

bool all_are(const IMemory& memory, int byte) {
    const auto* bytes = static_cast<const uint8_t*>(memory.pointer());
    return std::all_of(bytes, bytes + memory.size(), [byte](uint8_t b) { return b == byte; });
}

}  // namespace

TEST_F(BinderTest, HeapIsWholePagesOfSealedZeros) {
    const sp<MemoryHeapBase> heap = new MemoryHeapBase(1);
    const auto page = static_cast<size_t>(getpagesize());
    ASSERT_GE(heap->getHeapID(), 0);
    EXPECT_EQ(heap->getSize(), page);
    EXPECT_EQ(*static_cast<uint8_t*>(heap->getBase()), 0);
    EXPECT_NE(ftruncate(heap->getHeapID(), 0), 0);
    EXPECT_NE(ftruncate(heap->getHeapID(), static_cast<off_t>(2 * page)), 0);
    EXPECT_EQ(fcntl(heap->getHeapID(), F_GETFD), FD_CLOEXEC);
}

TEST_F(BinderTest, HeapThatCannotBeMadeSaysSoOnce) {
    // More than a process can map: of a 32-bit one, a quarter is 1 GiB, which it can.
    const size_t too_much = SIZE_MAX / (sizeof(size_t) == 8 ? 4 : 2);
    const sp<MemoryHeapBase> heaps[] = {new MemoryHeapBase(size_t{0}), new MemoryHeapBase(SIZE_MAX),
                                        new MemoryHeapBase(too_much)};
    for (const auto& heap : heaps) {
        EXPECT_LT(heap->getHeapID(), 0);
        EXPECT_EQ(heap->getBase(), MAP_FAILED);
    }
    EXPECT_EQ(log_.lines().size(), 3U);
}

TEST_F(BinderTest, PartOutsideItsHeapHasNoAddress) {
    const sp<MemoryHeapBase> heap = new MemoryHeapBase(4096);
    const auto* base = static_cast<const uint8_t*>(heap->getBase());
    const struct {
        ssize_t offset;
        size_t size;
        bool fits;
    } kParts[] = {{0, 4096, true},  {4095, 1, true}, {4096, 0, true},      {4096, 1, false},
                  {0, 4097, false}, {-1, 1, false},  {1, SIZE_MAX, false}, {4097, 0, false}};
    for (const auto& part : kParts) {
        const sp<IMemory> memory = new MemoryBase(heap, part.offset, part.size);
        EXPECT_EQ(memory->pointer(), part.fits ? base + part.offset : nullptr)
            << part.offset << " " << part.size;
    }
    EXPECT_EQ(sp<IMemory>(new MemoryBase(nullptr, 0, 1))->pointer(), nullptr);
}

TEST_F(BinderTest, CallForAnotherInterfaceIsRefused) {
    const sp<IBinder> object = new MemoryBase(new MemoryHeapBase(1), 0, 1);
    for (const char* token : {"", "android.utils.IMemor", "android.utils.IMemory2"}) {
        android::Parcel data;
        data.writeInterfaceToken(android::String16(token));
        EXPECT_EQ(object->transact(IBinder::FIRST_CALL_TRANSACTION, data, nullptr),
                  android::PERMISSION_DENIED);
    }
    EXPECT_EQ(log_.count_containing("came to 'android.utils.IMemory' and was refused"), 3);
}

TEST_F(BinderRemoteTest, BothSidesSeeTheSameMemory) {
    const sp<MemoryHeapBase> heap = new MemoryHeapBase(65536);
    const sp<IMemory> memory = new MemoryBase(heap, 100, 5000);
    for (const int byte : {1, 255}) {
        const answer filled = ask(probe_, kFillHeap, android::IInterface::asBinder(memory), byte);
        EXPECT_EQ(filled.status, android::NO_ERROR);
        EXPECT_EQ(filled.number(), 5000);
        EXPECT_TRUE(all_are(*memory, byte));
    }
    EXPECT_EQ(static_cast<uint8_t*>(heap->getBase())[99], 0);
    EXPECT_EQ(static_cast<uint8_t*>(heap->getBase())[5100], 0);
}

TEST_F(BinderRemoteTest, HeapIsMappedOnceAndUnmappedWithItsLastReference) {
    const int before = mappings();
    {
        const sp<IBinder> object = ask(probe_, kMakeMemory, 65536, 0).object();
        const auto memory = android::interface_cast<IMemory>(object);
        ASSERT_NE(memory->pointer(), nullptr);
        EXPECT_EQ(memory->pointer(), memory->pointer());
        EXPECT_TRUE(all_are(*memory, 0x5a));
        EXPECT_EQ(mappings(), before + 1);
        // What is mapped stays so without the process that made it.
        service_.end();
        EXPECT_TRUE(all_are(*memory, 0x5a));
    }
    EXPECT_TRUE(eventually([&] { return mappings() == before; }));
}

TEST_F(BinderRemoteTest, ReadOnlyHeapCannotBeWrittenFromElsewhere) {
    const auto memory = android::interface_cast<IMemory>(
        ask(probe_, kMakeMemory, 4096, IMemoryHeap::READ_ONLY + 0).object());
    ASSERT_NE(memory->pointer(), nullptr);
    EXPECT_TRUE(all_are(*memory, 0x5a));
    const int fd = memory->getMemory()->getHeapID();
    EXPECT_EQ(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0), MAP_FAILED);
    EXPECT_NE(write(fd, "x", 1), 1);
}

TEST_F(BinderRemoteTest, ForgedMemoryIsNotMapped) {
    probe_->pingBinder();  // what that needs stays
    for (const heap_forgery forgery :
         {kRegularFile, kUnsealedMemfd, kShortMemfd, kOutsideHeap, kNoDescriptor}) {
        const int files = count_entries("fd");
        const auto memory =
            android::interface_cast<IMemory>(ask(probe_, kForgeHeap, int32_t{forgery}).object());
        ASSERT_NE(memory, nullptr);
        log_.clear();
        EXPECT_EQ(memory->pointer(), nullptr) << forgery;
        EXPECT_EQ(memory->size(), 0U);
        EXPECT_GE(log_.count_containing("a memory of another process is not used"), 1);
        EXPECT_TRUE(eventually([&] { return count_entries("fd") == files; }));
    }
    EXPECT_EQ(android::interface_cast<IMemory>(new probe)->pointer(), nullptr);
}
