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
using android::String8;

namespace {

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

void set_words(Parcel& parcel, const std::vector<int32_t>& words) {
    parcel.setData(reinterpret_cast<const uint8_t*>(words.data()), words.size() * 4);
}

}  // namespace

TEST(Parcel, EveryKindComesBackAsItWas) {
    const sp<IBinder> object = new probe;
    const std::vector<String16> strings = {String16("a"), String16(), String16("bc")};
    Parcel parcel;
    parcel.writeInt32(-1);
    parcel.writeInt64(INT64_MIN);
    parcel.writeUint64(UINT64_MAX);
    parcel.writeFloat(0.5F);
    parcel.writeDouble(-2.25);
    parcel.writeBool(true);
    parcel.writeByte(-128);
    parcel.writeChar(0xffff);
    parcel.writeCString("c");
    parcel.writeString8(String8("eight"));
    parcel.writeString8(String8());
    parcel.writeString16(String16("sixteen"));
    parcel.writeString16(nullptr, 0);
    parcel.writeString16Vector(strings);
    parcel.writeByteVector(std::vector<uint8_t>{1, 2, 3});
    parcel.writeInt64Vector({});
    parcel.writeStrongBinder(object);
    parcel.writeStrongBinder(nullptr);
    parcel.writeWeakBinder(object);
    EXPECT_EQ(parcel.errorCheck(), android::NO_ERROR);
    EXPECT_EQ(parcel.dataSize() % 4, 0U);

    parcel.setDataPosition(0);
    EXPECT_EQ(parcel.readInt32(), -1);
    EXPECT_EQ(parcel.readInt64(), INT64_MIN);
    EXPECT_EQ(parcel.readUint64(), UINT64_MAX);
    EXPECT_EQ(parcel.readFloat(), 0.5F);
    EXPECT_EQ(parcel.readDouble(), -2.25);
    EXPECT_TRUE(parcel.readBool());
    EXPECT_EQ(parcel.readByte(), -128);
    EXPECT_EQ(parcel.readChar(), 0xffff);
    EXPECT_STREQ(parcel.readCString(), "c");
    EXPECT_EQ(parcel.readString8(), String8("eight"));
    EXPECT_EQ(parcel.readString8(), String8());
    EXPECT_EQ(parcel.readString16(), String16("sixteen"));
    String16 null("not null");
    EXPECT_EQ(parcel.readString16(&null), android::UNEXPECTED_NULL);
    std::vector<String16> strings_read;
    EXPECT_EQ(parcel.readString16Vector(&strings_read), android::NO_ERROR);
    EXPECT_EQ(strings_read, strings);
    std::vector<uint8_t> bytes;
    EXPECT_EQ(parcel.readByteVector(&bytes), android::NO_ERROR);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3}));
    std::vector<int64_t> none = {1};
    EXPECT_EQ(parcel.readInt64Vector(&none), android::NO_ERROR);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(parcel.readStrongBinder(), object);
    EXPECT_EQ(parcel.readStrongBinder(), nullptr);
    EXPECT_EQ(parcel.readWeakBinder().promote(), object);
    EXPECT_EQ(parcel.dataAvail(), 0U);
    EXPECT_EQ(parcel.readInt32(), 0);
}

TEST(Parcel, BytesThatDoNotHoldTogetherGiveAnError) {
    enum kind { kString8, kString16, kBytes, kWords, kStrings, kObject, kDescriptor };
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
        {"nothing", {}, kString8, android::NOT_ENOUGH_DATA},
        {"negative length", {-1, 0}, kString8, android::BAD_VALUE},
        {"no terminator", {3, 0x64636261}, kString8, android::BAD_VALUE},
        {"no room for a terminator", {4, 0x64636261}, kString8, android::NOT_ENOUGH_DATA},
        {"negative count", {-1}, kBytes, android::UNEXPECTED_NULL},
        {"count beyond the end", {5, 0}, kBytes, android::BAD_VALUE},
        {"largest count", {INT32_MAX, 0}, kWords, android::BAD_VALUE},
        {"count beyond the end", {2, 0}, kWords, android::BAD_VALUE},
        {"an element that is broken", {2, 0, 0, -7}, kStrings, android::BAD_VALUE},
        {"what looks like an object", {0x73622a85, 0, 1, 0, 1, 0}, kObject, android::BAD_TYPE},
        {"too short for an object", {0x73622a85, 0, 0, 0, 0}, kObject, android::BAD_TYPE},
        {"what looks like a descriptor",
         {0x66642a85, 0, 1, 0, 0, 0},
         kDescriptor,
         android::BAD_TYPE},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        // A heap block of exactly that size, so that reading past it is seen.
        Parcel parcel;
        set_words(parcel, row.words);
        String8 narrow("poison");
        String16 wide("poison");
        std::vector<uint8_t> bytes;
        std::vector<int32_t> words;
        std::vector<String16> strings;
        sp<IBinder> object = new probe;
        android::status_t status = android::NO_ERROR;
        switch (row.read) {
            case kString8:
                status = parcel.readString8(&narrow);
                EXPECT_EQ(narrow, String8());
                break;
            case kString16:
                status = parcel.readString16(&wide);
                EXPECT_EQ(wide, String16());
                break;
            case kBytes:
                status = parcel.readByteVector(&bytes);
                break;
            case kWords:
                status = parcel.readInt32Vector(&words);
                break;
            case kStrings:
                status = parcel.readString16Vector(&strings);
                break;
            case kObject:
                status = parcel.readStrongBinder(&object);
                EXPECT_EQ(object, nullptr);
                break;
            case kDescriptor:
                status = parcel.readFileDescriptor();
                break;
        }
        EXPECT_EQ(status, row.expected);
        parcel.setDataPosition(INT32_MAX);
        EXPECT_EQ(parcel.readInplace(4), nullptr);
        EXPECT_EQ(parcel.readCString(), nullptr);
    }
}

TEST(Parcel, WritesThatAreTooLargeAreRefusedAndRemembered) {
    Parcel parcel;
    EXPECT_EQ(parcel.setDataSize(SIZE_MAX), android::BAD_VALUE);
    EXPECT_EQ(parcel.setDataCapacity(SIZE_MAX), android::BAD_VALUE);
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
        EXPECT_TRUE(parcel.hasFileDescriptors());
        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readFileDescriptor(), lent);
        EXPECT_EQ(parcel.readFileDescriptor(), given);
        copy = parcel.readFileDescriptor();
        EXPECT_EQ(fcntl(copy, F_GETFD), FD_CLOEXEC);
        EXPECT_LT(parcel.readFileDescriptor(), 0);
        EXPECT_EQ(parcel.writeFileDescriptor(-1), android::BAD_VALUE);
        const bool before = parcel.pushAllowFds(false);
        EXPECT_EQ(parcel.writeFileDescriptor(lent), android::FDS_NOT_ALLOWED);
        parcel.restoreAllowFds(before);
    }
    EXPECT_TRUE(is_open(lent));
    EXPECT_FALSE(is_open(given));
    EXPECT_FALSE(is_open(copy));
    close(lent);
}

TEST(Parcel, AppendedPartBringsItsObjects) {
    const sp<IBinder> object = new probe;
    Parcel from;
    from.writeInt32(1);
    from.writeStrongBinder(object);
    from.writeDupFileDescriptor(STDIN_FILENO);
    Parcel to;
    to.writeInt64(2);
    ASSERT_EQ(to.appendFrom(&from, 4, from.dataSize() - 4), android::NO_ERROR);
    // Half an object is only bytes.
    ASSERT_EQ(to.appendFrom(&from, 8, 20), android::NO_ERROR);
    EXPECT_EQ(to.appendFrom(&from, 4, from.dataSize()), android::BAD_VALUE);
    EXPECT_EQ(to.appendFrom(&from, SIZE_MAX, 8), android::BAD_VALUE);
    EXPECT_EQ(to.objectsCount(), 2U);
    from.freeData();
    to.setDataPosition(8);
    EXPECT_EQ(to.readStrongBinder(), object);
    EXPECT_TRUE(is_open(to.readFileDescriptor()));
    // And to itself.
    to.setDataPosition(to.dataSize());
    ASSERT_EQ(to.appendFrom(&to, 8, 24), android::NO_ERROR);
    to.setDataPosition(to.dataSize() - 24);
    EXPECT_EQ(to.readStrongBinder(), object);
}

TEST(Parcel, WhatIsCutOffOrOverwrittenIsNoObjectAnyMore) {
    const sp<IBinder> object = new probe;
    Parcel parcel;
    parcel.writeStrongBinder(object);
    parcel.writeStrongBinder(object);
    parcel.setDataPosition(8);
    parcel.writeInt32(0);
    parcel.setDataPosition(0);
    EXPECT_EQ(parcel.objectsCount(), 1U);
    parcel.setDataSize(47);
    EXPECT_EQ(parcel.objectsCount(), 0U);
    parcel.setDataSize(48);
    parcel.setDataPosition(24);
    EXPECT_EQ(parcel.readStrongBinder(), nullptr);
    EXPECT_EQ(object->getStrongCount(), 1);
}
