// Tests with services in a folder of their own, and in processes of their own.
#pragma once

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "tests/platform/binder_probe.h"
#include "tests/support/child_process.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

// The program of a process that offers probes: binder_probe_service.cpp.
extern const char* const probe_service;

// Waits for something that cannot be waited for otherwise.
template <typename Predicate>
bool eventually(Predicate predicate) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!predicate()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class BinderTest : public testing::Test {
  protected:
    BinderTest() {
        setenv("CORVEX_BINDER_DIR", folder().c_str(), 1);
        setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
        // A call that hangs fails its test before ctest ends it.
        setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "60000", 1);
        android::ProcessState::self()->startThreadPool();
    }

    std::string folder() const { return scratch_.file("services"); }

    static android::sp<android::IBinder> find(const char* name) {
        return android::defaultServiceManager()->checkService(android::String16(name));
    }
    // One that is known to be there, however slow its process is to answer.
    static android::sp<android::IBinder> await(const char* name) {
        android::sp<android::IBinder> found;
        EXPECT_TRUE(eventually([&] { return (found = find(name)) != nullptr; })) << name;
        return found;
    }
    static android::status_t add(const char* name, const android::sp<android::IBinder>& object) {
        return android::defaultServiceManager()->addService(android::String16(name), object);
    }

    // A parcel of 256 KiB travels, and no larger one, in either direction.
    static void expect_parcel_limit(const android::sp<android::IBinder>& object) {
        constexpr int32_t most = 256 * 1024;
        for (const int32_t bytes : {0, 4, 65536, most}) {
            const answer large = ask(object, kReplyBytes, bytes);
            EXPECT_EQ(large.status, android::NO_ERROR) << bytes;
            EXPECT_EQ(large.parcel->dataSize(), static_cast<size_t>(bytes));
        }
        EXPECT_EQ(ask(object, kReplyBytes, most + 4).status, android::FAILED_TRANSACTION);
        android::Parcel reply;
        android::Parcel largest;
        largest.writeInplace(most);
        EXPECT_EQ(object->transact(kUnblock, largest, &reply), android::NO_ERROR);
        largest.setDataPosition(most);
        largest.writeInt32(0);
        EXPECT_EQ(object->transact(kUnblock, largest, &reply), android::FAILED_TRANSACTION);
        EXPECT_EQ(reply.errorCheck(), android::FAILED_TRANSACTION);
        android::Parcel too_many;
        for (int i = 0; i < 65; ++i) {
            too_many.writeDupFileDescriptor(STDIN_FILENO);
        }
        EXPECT_EQ(object->transact(kUnblock, too_many, &reply), android::FAILED_TRANSACTION);
        EXPECT_EQ(ask(object, kEcho, 1, "x").number(), 1);
    }
    // Probes in this process that this test has made; less where one of an earlier test has gone.
    int alive() const { return probe::alive() - alive_before_; }

    log_recorder log_;

  private:
    const int alive_before_ = probe::alive();
    const scratch_dir scratch_;
};

// One service, "probe", in a process of its own.
class BinderRemoteTest : public BinderTest {
  protected:
    child_process service_{probe_service, {"probe"}};
    android::sp<android::IBinder> probe_ = await("probe");
};
