// Parcels by themselves.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <binder/Parcel.h>

#include "tests/platform/binder_probe.h"

using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

namespace {

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

// Behind so many bytes that it is on the heap, in a block of exactly that size: reading past the
// end is seen.
constexpr size_t kAhead = 256;

void set_words(Parcel& parcel, const std::vector<int32_t>& words) {
    std::vector<int32_t> all(kAhead / 4);
    all.insert(all.end(), words.begin(), words.end());
    parcel.setData(reinterpret_cast<const uint8_t*>(all.data()), all.size() * 4);
    parcel.setDataPosition(kAhead);
}

}  // namespace

// Once with what fits inside the parcel, once with what does not.
TEST(Parcel, EveryKindComesBackAsItWas) {
    for (const size_t length : {size_t{3}, size_t{3000}}) {
        const sp<IBinder> object = new probe;
        const String16 text(std::string(length, 't').c_str());
        Parcel parcel;
        parcel.writeInt32(-1);
        parcel.writeInt64(INT64_MIN);
        parcel.writeUint64(UINT64_MAX);
        parcel.writeBool(true);
        parcel.writeString16(text);
        parcel.writeInt32(-1);
        parcel.writeStrongBinder(object);
        parcel.writeStrongBinder(nullptr);
        EXPECT_EQ(parcel.errorCheck(), android::NO_ERROR);
        EXPECT_EQ(parcel.dataSize() % 4, 0U);

        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readInt32(), -1);
        EXPECT_EQ(parcel.readInt64(), INT64_MIN);
        EXPECT_EQ(parcel.readUint64(), UINT64_MAX);
        EXPECT_TRUE(parcel.readBool());
        EXPECT_EQ(parcel.readString16(), text);
        String16 null("not null");
        EXPECT_EQ(parcel.readString16(&null), android::UNEXPECTED_NULL);
        EXPECT_EQ(parcel.readStrongBinder(), object);
        EXPECT_EQ(parcel.readStrongBinder(), nullptr);
        EXPECT_EQ(parcel.dataAvail(), 0U);
        EXPECT_EQ(parcel.readInt32(), 0);
    }
}

TEST(Parcel, BytesThatDoNotHoldTogetherGiveAnError) {
    enum kind { kString16, kBytes, kObject, kDescriptor };
    const struct {
        const char* name;
        std::vector<int32_t> words;
        kind read;
        android::status_t expected;
    } kRows[] = {
        {"nothing", {}, kString16, android::NOT_ENOUGH_DATA},
        {"negative length", {-2, 0}, kString16, android::BAD_VALUE},
        {"length beyond the end", {3, 0x00620061}, kString16, android::NOT_ENOUGH_DATA},
        {"largest length", {INT32_MAX, 0, 0}, kString16, android::NOT_ENOUGH_DATA},
        {"length that wraps when doubled", {0x7ffffffe, 0}, kString16, android::NOT_ENOUGH_DATA},
        {"no terminator", {1, 0x00620061}, kString16, android::BAD_VALUE},
        {"bytes beyond the end", {5, 0}, kBytes, android::NOT_ENOUGH_DATA},
        {"what looks like an object", {0x73622a85, 0, 1, 0, 1, 0}, kObject, android::BAD_TYPE},
        {"too short for an object", {0x73622a85, 0, 0, 0, 0}, kObject, android::BAD_TYPE},
        {"what looks like a descriptor",
         {0x66642a85, 0, 1, 0, 0, 0},
         kDescriptor,
         android::BAD_TYPE},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        Parcel parcel;
        set_words(parcel, row.words);
        String16 wide("poison");
        uint8_t bytes[12];
        sp<IBinder> object = new probe;
        android::status_t status = android::NO_ERROR;
        switch (row.read) {
            case kString16:
                status = parcel.readString16(&wide);
                EXPECT_EQ(wide, String16());
                break;
            case kBytes:
                status = parcel.read(bytes, sizeof bytes);
                break;
            case kObject:
                status = parcel.readNullableStrongBinder(&object);
                EXPECT_EQ(object, nullptr);
                break;
            case kDescriptor:
                status = parcel.readFileDescriptor();
                break;
        }
        EXPECT_EQ(status, row.expected);
        parcel.setDataPosition(INT32_MAX);
        EXPECT_EQ(parcel.readInplace(4), nullptr);
    }
}

TEST(Parcel, WritesThatAreTooLargeAreRefusedAndRemembered) {
    Parcel parcel;
    EXPECT_EQ(parcel.writeInplace(SIZE_MAX), nullptr);
    EXPECT_EQ(parcel.errorCheck(), android::BAD_VALUE);
    parcel.freeData();
    EXPECT_EQ(parcel.errorCheck(), android::NO_ERROR);
    parcel.setDataPosition(INT32_MAX);
    EXPECT_EQ(parcel.writeInt32(1), android::BAD_VALUE);
    parcel.setDataPosition(0);
    EXPECT_EQ(parcel.setData(nullptr, 4), android::BAD_VALUE);
    EXPECT_EQ(parcel.dataSize(), 0U);
}

TEST(Parcel, DescriptorsAreClosedWithTheParcelThatOwnsThem) {
    const int lent = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int given = open("/dev/null", O_RDONLY | O_CLOEXEC);
    int copy = -1;
    {
        Parcel parcel;
        parcel.writeFileDescriptor(lent);
        parcel.writeFileDescriptor(given, true);
        parcel.writeDupFileDescriptor(lent);
        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readFileDescriptor(), lent);
        EXPECT_EQ(parcel.readFileDescriptor(), given);
        copy = parcel.readFileDescriptor();
        EXPECT_EQ(fcntl(copy, F_GETFD), FD_CLOEXEC);
        EXPECT_LT(parcel.readFileDescriptor(), 0);
        EXPECT_EQ(parcel.writeFileDescriptor(-1), android::BAD_VALUE);
    }
    EXPECT_TRUE(is_open(lent));
    EXPECT_FALSE(is_open(given));
    EXPECT_FALSE(is_open(copy));
    close(lent);
}

TEST(Parcel, WhatIsOverwrittenIsNoObjectAnyMore) {
    const sp<IBinder> object = new probe;
    Parcel parcel;
    parcel.writeStrongBinder(object);
    parcel.writeStrongBinder(object);
    parcel.setDataPosition(8);
    parcel.writeInt32(0);
    EXPECT_EQ(parcel.objectsCount(), 1U);
    parcel.setDataPosition(0);
    EXPECT_EQ(parcel.readStrongBinder(), nullptr);
    parcel.setDataPosition(24);
    EXPECT_EQ(parcel.readStrongBinder(), object);
    parcel.freeData();
    EXPECT_EQ(object->getStrongCount(), 1);
}
