#include <atomic>
#include <chrono>
#include <dirent.h>
#include <sys/wait.h>
#include <thread>

#include "player_client/player_functions.h"
#include "tests/player_client/client_fixture.h"
#include "tests/player_client/flat_cases.h"

namespace {

constexpr int32_t dead_object = -32;

class ServiceDeath : public client_test {
  protected:
    ServiceDeath() {
        start_service(where::elsewhere);
        open();
    }
    // Every call ends at once, and the block stays the client's.
    void expect_told() {
        for (const flat_case& row : flat_cases()) {
            if (row.method == "DeInit" || row.method == "Init") {
                continue;
            }
            SCOPED_TRACE(row.function);
            flat_arguments with;
            EXPECT_EQ(row.call(handle_, with), dead_object);
        }
        EXPECT_EQ(ZUAVPLAYER_DeInit(handle_), dead_object);
    }
};

TEST_F(ServiceDeath, BeforeACallIsTold) {
    service().end();
    expect_told();
}

TEST_F(ServiceDeath, DuringACallEndsIt) {
    std::atomic<int32_t> result{0};
    std::thread caller([&] { result = ZUAVPLAYER_SetTunnelMode(handle_, 1, ask_hang, 0); });
    while (journal().empty()) {  // the call has arrived
        std::this_thread::yield();
    }
    service().end();
    caller.join();
    EXPECT_EQ(result, dead_object);
    expect_told();
}

TEST_F(ServiceDeath, ByTheCallItselfIsTold) {
    EXPECT_EQ(ZUAVPLAYER_SetTunnelMode(handle_, 1, ask_exit, 0), dead_object);
    expect_told();
}

TEST_F(ServiceDeath, LeavesTheBlockWritable) {
    ZUAVPLAYER_Init(handle_);
    auto* const block = static_cast<uint8_t*>(ZUAVPLAYER_GetCblk(handle_));
    ASSERT_NE(block, nullptr);
    uint32_t player = 0;
    ZUAVPLAYER_Create(handle_, "attr", &player, 4);
    service().end();
    block[8191] = 1;
    EXPECT_EQ(ZUAVPLAYER_PutBufEx(handle_, 1, 1, 1, 0), dead_object);
}

size_t entries(const char* folder) {
    size_t count = 0;
    DIR* const open_folder = opendir(folder);
    while (readdir(open_folder) != nullptr) {
        ++count;
    }
    closedir(open_folder);
    return count;
}

int32_t live_players(void* handle) {
    return ZUAVPLAYER_SetTunnelMode(handle, 1, ask_live_players, 0);
}

// A client in a process of its own that opens, shares its block, registers and is killed.
TEST_F(ServiceDeath, IsNotWhatAClientsDeathBrings) {
    EXPECT_EQ(live_players(handle_), 1);
    for (int round = 0; round < 20; ++round) {
        child_process client(CORVEX_DOOMED_CLIENT, {});
        if (round % 2 == 0) {
            EXPECT_GE(live_players(handle_), 2);
        }
        client.end();
    }
    // Its players go as soon as the service is told.
    while (live_players(handle_) > 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(ZUAVPLAYER_SYS_Init(handle_), status_of(1));
}

TEST_F(ServiceDeath, AndThousandsOfConnectionsLeaveNothingBehind) {
    const auto use = [this](int times) {
        for (int i = 0; i < times; ++i) {
            void* another = nullptr;
            ASSERT_EQ(ZUAVPLAYER_Open(&another), 0);
            ZUAVPLAYER_Init(another);
            uint32_t player = 0;
            ZUAVPLAYER_Create(another, "attr", &player, 4);
            ASSERT_EQ(ZUAVPLAYER_RegisterEvent64(another, 1, 1,
                                                 reinterpret_cast<void*>(ignore_player_event)),
                      status_of(9));
            ZUAVPLAYER_Close(another);
        }
        while (live_players(handle_) > 1) {
            std::this_thread::yield();
        }
    };
    const std::string of_service = "/proc/" + std::to_string(service().pid());
    const std::vector<std::string> watched = {"/proc/self/fd", "/proc/self/task",
                                              of_service + "/fd", of_service + "/task"};
    use(100);
    std::vector<size_t> before;
    for (const std::string& folder : watched) {
        before.push_back(entries(folder.c_str()));
    }
    use(2000);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (size_t i = 0; i < watched.size(); ++i) {
        // What is on its way out may still be counted. Threads stay for a while, and two for good,
        // which the first uses need not have made.
        const size_t kept = i % 2 == 0 ? 0 : 2;
        while (entries(watched[i].c_str()) > before[i] + kept) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << watched[i];
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

}  // namespace
