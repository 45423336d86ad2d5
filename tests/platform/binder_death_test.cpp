// Processes that die, on either side.

#include <random>

#include "tests/platform/binder_fixture.h"

using android::IBinder;
using android::sp;

TEST_F(BinderRemoteTest, DeathIsToldOnceToEachRecipientAndCallsFail) {
    const sp<death_counter> first = new death_counter;
    const sp<death_counter> second = new death_counter;
    const sp<death_counter> unlinked = new death_counter;
    int cookie = 0;
    ASSERT_EQ(probe_->linkToDeath(first), android::NO_ERROR);
    ASSERT_EQ(probe_->linkToDeath(second, &cookie, 7), android::NO_ERROR);
    ASSERT_EQ(probe_->linkToDeath(unlinked, &cookie), android::NO_ERROR);
    EXPECT_EQ(probe_->linkToDeath(nullptr), android::BAD_VALUE);
    EXPECT_EQ(probe_->unlinkToDeath(second), android::NAME_NOT_FOUND);
    android::wp<IBinder::DeathRecipient> gone;
    EXPECT_EQ(probe_->unlinkToDeath(nullptr, &cookie, 0, &gone), android::NO_ERROR);
    EXPECT_EQ(gone, unlinked);
    service_.end();
    EXPECT_TRUE(first->reaches(1));
    EXPECT_TRUE(second->reaches(1));
    EXPECT_FALSE(probe_->isBinderAlive());
    EXPECT_EQ(ask(probe_, kEcho, 1, "").status, android::DEAD_OBJECT);
    EXPECT_EQ(tell(probe_, kNote, 1), android::DEAD_OBJECT);
    EXPECT_EQ(probe_->pingBinder(), android::DEAD_OBJECT);
    EXPECT_EQ(probe_->linkToDeath(first), android::DEAD_OBJECT);
    EXPECT_EQ(probe_->unlinkToDeath(first), android::DEAD_OBJECT);
    EXPECT_EQ(first->count(), 1);
    EXPECT_EQ(second->count(), 1);
    EXPECT_EQ(unlinked->count(), 0);
    EXPECT_EQ(find("probe"), nullptr);
}

TEST_F(BinderRemoteTest, RecipientIsNotKeptAliveByItsLink) {
    sp<death_counter> forgotten = new death_counter;
    const android::wp<death_counter> weak = forgotten;
    const sp<death_counter> other = new death_counter;
    probe_->linkToDeath(forgotten);
    probe_->linkToDeath(other);
    forgotten.clear();
    EXPECT_EQ(weak.promote(), nullptr);
    service_.end();
    EXPECT_TRUE(other->reaches(1));
}

TEST_F(BinderRemoteTest, ServiceIsToldOfItsClientsDeathAndDropsTheirObjects) {
    const int before = ask(probe_, kObjects).number();
    {
        // Keeps an object of the service, and gives it one that is watched.
        const child_process client(probe_service, {"--watched", "probe"});
        EXPECT_EQ(ask(probe_, kObjects).number(), before + 1);
    }
    EXPECT_TRUE(eventually([&] { return ask(probe_, kDeaths).number() == 1; }));
    EXPECT_TRUE(eventually([&] { return ask(probe_, kObjects).number() == before; }));
    EXPECT_EQ(ask(probe_, kAskKept).status, android::DEAD_OBJECT);
}

// Objects, calls and one-way calls are in flight both ways when a process is killed.
TEST_F(BinderTest, ServiceKilledAtAnyMomentLeavesNothingBehind) {
    std::minstd_rand random(1);
    int files = 0;
    for (int round = 0; round < 25; ++round) {
        child_process service(probe_service, {"victim"});
        const sp<IBinder> victim = await("victim");
        const sp<death_counter> told = new death_counter;
        ASSERT_EQ(victim->linkToDeath(told), android::NO_ERROR);
        std::vector<std::thread> callers;
        for (int i = 0; i < 3; ++i) {
            callers.emplace_back([&] {
                sp<IBinder> mine = new probe;
                for (;;) {
                    const answer nested = ask(victim, kNest, 4, mine);
                    ask(victim, kKeep, mine);
                    const answer made = ask(victim, kMakeObject);
                    if (tell(victim, kNote, 1) == android::DEAD_OBJECT) {
                        return;
                    }
                }
            });
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        service.end();
        for (auto& caller : callers) {
            caller.join();
        }
        EXPECT_TRUE(told->reaches(1));
        EXPECT_TRUE(eventually([&] { return alive() <= 0; }));
        if (round == 0) {
            files = count_entries("fd");
        }
    }
    EXPECT_TRUE(eventually([&] { return count_entries("fd") <= files; }));
}

TEST_F(BinderRemoteTest, ClientsKilledAtAnyMomentLeaveNothingBehind) {
    const int files = ask(probe_, kOpenFiles).number();
    const int objects = ask(probe_, kObjects).number();
    std::minstd_rand random(1);
    for (int round = 0; round < 20; ++round) {
        const child_process client(probe_service, {"--use", "probe"});
        const child_process other(probe_service, {"--use", "probe"});
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
    }
    EXPECT_TRUE(eventually([&] {
        // Each time: a client's last call may be served when it is dead already.
        ask(probe_, kDrop);
        return ask(probe_, kOpenFiles).number() == files;
    }));
    EXPECT_TRUE(eventually([&] { return ask(probe_, kObjects).number() == objects; }));
}
