#include <algorithm>
#include <cerrno>
#include <cstring>

#include "player_client/player_functions.h"
#include "tests/player_client/client_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/resource_limit.h"

namespace {

constexpr size_t block_bytes = 8192;
constexpr const char* log_tag = "ZUAVPLAYER_ADP";

using SharedBlock = client_everywhere_test;

INSTANTIATE_TEST_SUITE_P(, SharedBlock, testing::Values(where::here, where::elsewhere), place_name);

void create_player(void* handle) {
    uint32_t player = 0;
    ZUAVPLAYER_Create(handle, "attr", &player, 4);
}

TEST_P(SharedBlock, IsThereFromInitToDeInit) {
    open();
    EXPECT_EQ(ZUAVPLAYER_GetCblk(handle_), nullptr);
    EXPECT_EQ(ZUAVPLAYER_Init(handle_), status_of(2));
    const auto* const block = static_cast<const uint8_t*>(ZUAVPLAYER_GetCblk(handle_));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::all_of(block, block + block_bytes, [](uint8_t byte) { return byte == 0; }));
    EXPECT_EQ(ZUAVPLAYER_DeInit(handle_), status_of(3));
    EXPECT_EQ(ZUAVPLAYER_GetCblk(handle_), nullptr);
    EXPECT_EQ(log_.lines(), std::vector<log_line>{});
}

TEST_P(SharedBlock, HoldsTheSameBytesOnBothSides) {
    open();
    ZUAVPLAYER_Init(handle_);
    auto* const block = static_cast<uint8_t*>(ZUAVPLAYER_GetCblk(handle_));
    ASSERT_NE(block, nullptr);
    create_player(handle_);
    EXPECT_EQ(journal(), (std::vector<std::string>{"Init", "SetShareMemory given",
                                                   "Create <61747472> given 4"}));
    std::copy_n("abc", 3, block);
    ZUAVPLAYER_PutBufEx(handle_, 9, 1, 4, 77);
    EXPECT_EQ(journal(), std::vector<std::string>{"PutBufEx 9 1 4 77 <61626300>"});

    ZUAVPLAYER_SetTunnelMode(handle_, 9, ask_stamp_block, 0);
    EXPECT_TRUE(std::all_of(block, block + block_bytes, [](uint8_t byte) { return byte == 0x5A; }));
}

TEST_P(SharedBlock, IsMadeAnewAndClearByASecondInit) {
    open();
    ZUAVPLAYER_Init(handle_);
    create_player(handle_);
    ZUAVPLAYER_SetTunnelMode(handle_, 9, ask_stamp_block, 0);
    ZUAVPLAYER_Init(handle_);
    auto* const block = static_cast<uint8_t*>(ZUAVPLAYER_GetCblk(handle_));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0], 0);
    // The service goes on with the old one until the next player is made.
    std::copy_n("new", 3, block);
    journal();
    ZUAVPLAYER_PutBufEx(handle_, 9, 1, 3, 0);
    EXPECT_EQ(journal(), std::vector<std::string>{"PutBufEx 9 1 3 0 <5a5a5a>"});
    create_player(handle_);
    journal();
    ZUAVPLAYER_PutBufEx(handle_, 9, 1, 3, 0);
    EXPECT_EQ(journal(), std::vector<std::string>{"PutBufEx 9 1 3 0 <6e6577>"});
}

TEST_F(client_test, InitGoesOnWithoutABlockWhereThereIsNoMemoryForIt) {
    start_service(where::elsewhere);
    open();
    {
        const resource_limit no_descriptors(RLIMIT_NOFILE, 0);
        EXPECT_EQ(ZUAVPLAYER_Init(handle_), status_of(2));
    }
    EXPECT_EQ(log_.count(ANDROID_LOG_ERROR, log_tag, "new MemoryHeapBase failed"), 1);
    EXPECT_EQ(ZUAVPLAYER_GetCblk(handle_), nullptr);

    // A block made before stays.
    ZUAVPLAYER_Init(handle_);
    void* const block = ZUAVPLAYER_GetCblk(handle_);
    ASSERT_NE(block, nullptr);
    {
        const resource_limit no_descriptors(RLIMIT_NOFILE, 0);
        ZUAVPLAYER_Init(handle_);
    }
    EXPECT_EQ(ZUAVPLAYER_GetCblk(handle_), block);
    std::memset(block, 1, block_bytes);
}

TEST_F(client_test, InitSaysThatTheBlockCouldNotBeCleared) {
    start_service(where::here);
    open();
    faults().memset_s_result = ERANGE;
    EXPECT_EQ(ZUAVPLAYER_Init(handle_), status_of(2));
    reset_faults();
    EXPECT_EQ(log_.count(ANDROID_LOG_ERROR, log_tag, "call memset_s mShareMemory failed 0x22\n"),
              1);
    EXPECT_NE(ZUAVPLAYER_GetCblk(handle_), nullptr);
}

}  // namespace
