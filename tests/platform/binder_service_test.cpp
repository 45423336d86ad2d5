// Services by name, and the folder in which they are found.

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/platform/binder_fixture.h"

using android::IBinder;
using android::sp;
using android::String16;

TEST_F(BinderTest, LocalObjectKnowsNoDeathAndTheSameLimitAsARemoteOne) {
    const sp<IBinder> object = new probe;
    EXPECT_EQ(object->linkToDeath(new death_counter), android::INVALID_OPERATION);
    EXPECT_EQ(object->pingBinder(), android::NO_ERROR);
    expect_parcel_limit(object);
}

TEST_F(BinderTest, NamesAreCheckedAndEscaped) {
    const std::string longest(127, 'n');
    for (const char* name :
         {"media.player", ".", "..", "../up", "a/b", "tön %2F", longest.c_str()}) {
        const sp<IBinder> object = new probe;
        EXPECT_EQ(add(name, object), android::NO_ERROR) << name;
        EXPECT_EQ(find(name), object) << name;
    }
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        EXPECT_EQ(entry.path().filename(), "services");
    }
    EXPECT_EQ(add("", new probe), android::BAD_VALUE);
    EXPECT_EQ(add((longest + "n").c_str(), new probe), android::BAD_VALUE);
    EXPECT_EQ(add("null", nullptr), android::BAD_VALUE);
    EXPECT_EQ(find(""), nullptr);
    EXPECT_EQ(find("null"), nullptr);
}

TEST_F(BinderTest, FolderIsMadePrivateAndMayBeFarDown) {
    std::string deep = folder();
    while (deep.size() < 300) {
        std::filesystem::create_directory(deep);
        deep += "/a-folder-whose-path-no-socket-address-can-hold";
    }
    setenv("CORVEX_BINDER_DIR", deep.c_str(), 1);
    const child_process service(probe_service, {"probe"});
    struct stat made = {};
    ASSERT_EQ(stat(deep.c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 07777, 0700U);
    EXPECT_EQ(ask(await("probe"), kEcho, 4, "").number(), 4);
}

TEST_F(BinderTest, FolderThatIsNotPrivateIsRefusedWithOneClearLine) {
    const auto refuses = [&](const char* why) {
        log_.clear();
        EXPECT_EQ(add("refused", new probe), android::PERMISSION_DENIED) << why;
        EXPECT_EQ(log_.count_containing("set CORVEX_BINDER_DIR"), 1) << why;
        setenv("CORVEX_BINDER_WAIT_MS", "30", 1);
        log_.clear();
        EXPECT_EQ(android::defaultServiceManager()->getService(String16("refused")), nullptr);
        EXPECT_EQ(log_.count_containing("set CORVEX_BINDER_DIR"), 1) << why;
    };
    std::filesystem::create_directory(folder());
    for (const mode_t mode : {0777U, 0710U, 0701U, 0704U}) {
        chmod(folder().c_str(), mode);
        refuses("mode");
    }
    chmod(folder().c_str(), 0700);
    EXPECT_EQ(add("allowed", new probe), android::NO_ERROR);
    std::ofstream("file") << "no folder";
    setenv("CORVEX_BINDER_DIR", "file", 1);
    refuses("file");
    // Where others may write, a link is not followed.
    unsetenv("CORVEX_BINDER_DIR");
    setenv("XDG_RUNTIME_DIR", std::filesystem::current_path().c_str(), 1);
    std::filesystem::create_directory_symlink(folder(), "corvex-binder");
    refuses("link");
    std::filesystem::remove("corvex-binder");
    EXPECT_EQ(add("allowed", new probe), android::NO_ERROR);
}

TEST_F(BinderTest, ServiceThatIsNotThereIsWaitedForWithinBounds) {
    setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
    EXPECT_EQ(android::defaultServiceManager()->getService(String16("late")), nullptr);
    setenv("CORVEX_BINDER_WAIT_MS", "60000", 1);
    std::thread later([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        add("late", new probe);
    });
    EXPECT_NE(android::defaultServiceManager()->getService(String16("late")), nullptr);
    later.join();
    setenv("CORVEX_BINDER_WAIT_MS", "soon", 1);
    EXPECT_EQ(android::defaultServiceManager()->getService(String16("never")), nullptr);
    EXPECT_EQ(log_.count_containing("CORVEX_BINDER_WAIT_MS is 'soon'"), 1);
}

TEST_F(BinderTest, ServiceIsReplacedByALaterOneWhereverThatLives) {
    const sp<IBinder> first = new probe;
    const sp<IBinder> second = new probe;
    ASSERT_EQ(add("name", first), android::NO_ERROR);
    ASSERT_EQ(add("name", second), android::NO_ERROR);
    EXPECT_EQ(find("name"), second);
    {
        child_process other(probe_service, {"name"});
        const sp<IBinder> remote = await("name");
        EXPECT_NE(remote->remoteBinder(), nullptr);
        child_process again(probe_service, {"name"});
        EXPECT_NE(find("name"), remote);
        // The one that was replaced leaves the other's socket alone.
        EXPECT_EQ(ask(remote, kExit).status, android::DEAD_OBJECT);
        EXPECT_EQ(other.wait().exit_code, 0);
        await("name");
    }
    // The socket of the killed one is still there.
    EXPECT_EQ(find("name"), nullptr);
    ASSERT_EQ(add("name", first), android::NO_ERROR);
    EXPECT_EQ(find("name"), first);
    // Nobody else finds it without its socket, so we do not either.
    std::filesystem::remove(folder() + "/name");
    EXPECT_EQ(find("name"), nullptr);
}

TEST_F(BinderTest, StoppedServiceIsWaitedForAsACallIsAndIsNotTakenForAbsent) {
    child_process service(probe_service, {"probe"});
    service.pause();
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "200", 1);
    setenv("CORVEX_BINDER_WAIT_MS", "60000", 1);
    EXPECT_EQ(android::defaultServiceManager()->getService(String16("probe")), nullptr);
    EXPECT_EQ(log_.count_containing("is there and does not answer"), 1);
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "60000", 1);
    service.send(SIGCONT);
    await("probe");
}

// More clients at once than any queue of the service's own would take, on a machine that is slow.
TEST_F(BinderTest, ManyClientsThatStartAtOnceAllFindTheService) {
    const child_process service(probe_service, {"probe"});
    std::vector<std::unique_ptr<child_process>> clients;
    std::vector<std::thread> starters;
    std::mutex mutex;
    for (int i = 0; i < 40; ++i) {
        starters.emplace_back([&] {
            auto made = std::make_unique<child_process>(probe_service,
                                                        std::vector<std::string>{"--use", "probe"});
            const std::lock_guard<std::mutex> lock(mutex);
            clients.push_back(std::move(made));
        });
    }
    for (auto& starter : starters) {
        starter.join();
    }
    EXPECT_EQ(clients.size(), 40U);
}

TEST_F(BinderRemoteTest, SocketsGoWithAnOrderlyExit) {
    EXPECT_FALSE(std::filesystem::is_empty(folder()));
    EXPECT_EQ(ask(probe_, kExit).status, android::DEAD_OBJECT);
    EXPECT_EQ(service_.wait().exit_code, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

// Thousands of connections, of which nothing stays.
TEST_F(BinderTest, ConnectionsThatAreNotUsedAnyMoreAreClosedOnBothSides) {
    const child_process service(probe_service, {"probe", "second"});
    const auto files_here = [] { return count_entries("fd"); };
    for (int i = 0; i < 10; ++i) {
        await("probe");
    }
    sp<IBinder> probe_object = await("probe");
    const int here = files_here();
    const int threads = count_entries("task");
    const int there = ask(probe_object, kOpenFiles).number();
    probe_object.clear();
    for (int i = 0; i < 3000; ++i) {
        const sp<IBinder> found = await("probe");
        if (i % 100 == 0) {
            ASSERT_EQ(ask(found, kKeep, sp<IBinder>(new probe)).status, android::NO_ERROR);
            ASSERT_EQ(ask(found, kDrop).status, android::NO_ERROR);
            ASSERT_EQ(tell(found, kNote, i), android::NO_ERROR);
        }
    }
    EXPECT_TRUE(eventually([&] { return files_here() <= here - 1; }));
    probe_object = find("probe");
    EXPECT_TRUE(eventually([&] { return ask(probe_object, kOpenFiles).number() <= there; }));
    EXPECT_LE(count_entries("task"), threads + 4);
    EXPECT_TRUE(eventually([&] { return alive() <= 0; }));
}
