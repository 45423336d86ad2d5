// Calls and objects between processes.

#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/binder_fixture.h"

using android::IBinder;
using android::Parcel;
using android::sp;

const char* const probe_service = BINDER_PROBE_SERVICE;

TEST_F(BinderRemoteTest, StatusArrivesAndTheReplyHoldsNothingElse) {
    for (const android::status_t status :
         {android::BAD_VALUE + 0, android::NO_INIT + 0, android::UNKNOWN_ERROR + 0, -12345}) {
        const answer failed = ask(probe_, kFail, status);
        EXPECT_EQ(failed.status, status);
        EXPECT_EQ(failed.parcel->dataSize(), 0U);
        EXPECT_EQ(failed.parcel->errorCheck(), status);
    }
    EXPECT_EQ(ask(probe_, 0x00ffffff).status, android::UNKNOWN_TRANSACTION);
    EXPECT_EQ(ask(probe_, kEcho, 1, "x").number(), 1);
}

TEST_F(BinderRemoteTest, ServiceKnowsItsCaller) {
    const answer caller = ask(probe_, kCaller);
    EXPECT_EQ(caller.number(), getpid());
    EXPECT_EQ(caller.number(), static_cast<int32_t>(getuid()));
}

TEST_F(BinderRemoteTest, ParcelsOfAnyAllowedSizeTravelAndLargerOnesAreRefused) {
    expect_parcel_limit(probe_);
}

TEST_F(BinderRemoteTest, SameObjectIsTheSameProxyHoweverItComes) {
    EXPECT_EQ(find("probe"), probe_);
    const sp<IBinder> made = ask(probe_, kMakeObject).object();
    ASSERT_NE(made, nullptr);
    ask(probe_, kKeep, made);
    EXPECT_EQ(ask(probe_, kKept).object(), made);
    EXPECT_NE(ask(probe_, kMakeObject).object(), made);
}

TEST_F(BinderRemoteTest, ObjectThatComesHomeIsItself) {
    EXPECT_TRUE(ask(probe_, kIsMe, probe_).number());
    const sp<IBinder> mine = new probe;
    ask(probe_, kKeep, mine);
    EXPECT_EQ(ask(probe_, kKept).object(), mine);
    EXPECT_EQ(ask(probe_, kKept).object()->localBinder(), mine->localBinder());
}

TEST_F(BinderRemoteTest, ReferencesKeepObjectsOnBothSidesAndNoLonger) {
    const int before = ask(probe_, kObjects).number();
    {
        const sp<IBinder> made = ask(probe_, kMakeObject).object();
        EXPECT_EQ(ask(probe_, kObjects).number(), before + 1);
        EXPECT_EQ(ask(made, kEcho, 3, "").number(), 3);
    }
    EXPECT_TRUE(eventually([&] { return ask(probe_, kObjects).number() == before; }));
    sp<IBinder> mine = new probe;
    const android::wp<IBinder> weak = mine;
    ask(probe_, kKeep, mine);
    mine.clear();
    EXPECT_NE(weak.promote(), nullptr);
    ask(probe_, kDrop);
    EXPECT_TRUE(eventually([&] { return weak.promote() == nullptr; }));
}

// A release that crosses the object being sent again must not lose it.
TEST_F(BinderRemoteTest, ObjectSurvivesReleasesThatCrossItsSending) {
    const sp<IBinder> made = ask(probe_, kMakeObject).object();
    ask(probe_, kKeep, made);
    const int objects = ask(probe_, kObjects).number();
    std::vector<std::thread> threads;
    std::atomic<int> lost{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 300; ++round) {
                const sp<IBinder> mine = new probe;
                const sp<IBinder> again = ask(probe_, kKept).object();
                lost += again == nullptr || ask(again, kEcho, round, "").number() != round;
                lost += ask(again, kNest, 1, mine).number() != 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(ask(probe_, kObjects).number(), objects);
    EXPECT_TRUE(eventually([&] { return alive() <= 0; }));
}

// Deeper than any fixed number of threads that is usual.
TEST_F(BinderRemoteTest, CallsNestBothWays) {
    const sp<IBinder> mine = new probe;
    EXPECT_EQ(ask(probe_, kNest, 40, mine).number(), 40);
}

TEST_F(BinderRemoteTest, OnewayCallsOfOneObjectComeOneByOneAndInOrder) {
    constexpr int kCount = 2000;
    for (int i = 0; i < kCount; ++i) {
        ASSERT_EQ(tell(probe_, kNote, i), android::NO_ERROR);
    }
    answer notes;
    ASSERT_TRUE(eventually([&] {
        notes = ask(probe_, kNotes);
        return notes.number() == kCount;
    }));
    EXPECT_TRUE(notes.parcel->readBool()) << "not in order";
    EXPECT_FALSE(notes.parcel->readBool()) << "at once";
}

TEST_F(BinderRemoteTest, OnewayCallsToAStoppedProcessAreRefusedInTheEndAndNotLost) {
    service_.pause();
    std::string bytes(60000, 'x');
    int sent = 0;
    while (tell(probe_, kNote, sent, bytes.c_str()) == android::NO_ERROR) {
        ASSERT_LT(++sent, 1000);
    }
    EXPECT_EQ(tell(probe_, kNote, sent, bytes.c_str()), android::FAILED_TRANSACTION);
    EXPECT_GT(sent, 5);
    service_.send(SIGCONT);
    EXPECT_TRUE(eventually([&] { return ask(probe_, kNotes).number() == sent; }));
    EXPECT_TRUE(eventually([&] { return tell(probe_, kNote, 0) == android::NO_ERROR; }));
}

TEST_F(BinderRemoteTest, CallWithoutAnswerTimesOutAndTheConnectionGoesOn) {
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "50", 1);
    EXPECT_EQ(ask(probe_, kBlock).status, android::TIMED_OUT);
    EXPECT_EQ(log_.count_containing("has not answered"), 1);
    // The thread that is stuck holds up no other call.
    EXPECT_TRUE(eventually([&] { return ask(probe_, kEcho, 3, "").number() == 3; }));
    service_.pause();
    EXPECT_EQ(ask(probe_, kMakeObject).status, android::TIMED_OUT);
    service_.send(SIGCONT);
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "60000", 1);
    // The object in the late reply, which nobody has, goes again.
    EXPECT_TRUE(eventually([&] { return ask(probe_, kUnblock).status == android::NO_ERROR; }));
    EXPECT_TRUE(eventually([&] { return ask(probe_, kObjects).number() == 1; }));
}

// The calls' own time counts, as they are told it: the first waits for all of it, those after it
// only 100 ms each until one is answered.
TEST_F(BinderRemoteTest, ProcessThatHangsIsWaitedForOnce) {
    const auto elapsed = [&](int calls) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < calls; ++i) {
            EXPECT_EQ(ask(probe_, kEcho, 1, "").status, android::TIMED_OUT);
        }
        return std::chrono::steady_clock::now() - start;
    };
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "2000", 1);
    service_.pause();
    EXPECT_GE(elapsed(1), std::chrono::milliseconds(1900));
    // More of them than there are channels: those that owe an answer are used again.
    EXPECT_LT(elapsed(40), std::chrono::milliseconds(40 * 1000));
    // For ever is for ever.
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "0", 1);
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        service_.send(SIGCONT);
    });
    EXPECT_EQ(ask(probe_, kEcho, 5, "").number(), 5);
    later.join();
    // All is as before.
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "2000", 1);
    EXPECT_EQ(ask(probe_, kEcho, 6, "").number(), 6);
    service_.pause();
    EXPECT_GE(elapsed(1), std::chrono::milliseconds(1900));
}

TEST_F(BinderRemoteTest, ObjectOfAThirdProcessIsNotPassedOn) {
    const child_process second(probe_service, {"second"});
    const sp<IBinder> there = find("second");
    const sp<IBinder> mine = new probe;
    EXPECT_EQ(ask(probe_, kNest, 1, there).status, android::INVALID_OPERATION);
    EXPECT_EQ(tell(probe_, kKeep, there), android::INVALID_OPERATION);
    EXPECT_EQ(ask(probe_, kLookUp, "second").status, android::INVALID_OPERATION);
    EXPECT_EQ(log_.count_containing("of a third process"), 1);
    // Nothing of such a parcel is kept.
    Parcel both;
    both.writeStrongBinder(mine);
    both.writeStrongBinder(there);
    EXPECT_EQ(probe_->transact(kKeep, both, nullptr), android::INVALID_OPERATION);
    EXPECT_EQ(mine->getStrongCount(), 2);
}

TEST_F(BinderRemoteTest, ForkedChildLeavesItsParentsConnectionAlone) {
    sp<IBinder> made = ask(probe_, kMakeObject).object();
    const pid_t child = fork();
    if (child == 0) {
        const bool is_dead = ask(probe_, kEcho, 1, "").status == android::DEAD_OBJECT;
        made.clear();
        _exit(is_dead && find("probe") == nullptr ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ask(made, kEcho, 2, "").number(), 2);
}
