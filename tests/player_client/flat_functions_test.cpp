#include <algorithm>

#include "player_client/player_functions.h"
#include "tests/player_client/client_fixture.h"
#include "tests/player_client/flat_cases.h"

namespace {

constexpr const char* log_tag = "ZUAVPLAYER_ADP";

using FlatFunctions = client_everywhere_test;
using FlatFunctionsAlone = client_test;

INSTANTIATE_TEST_SUITE_P(, FlatFunctions, testing::Values(where::here, where::elsewhere),
                         place_name);

void expect_results(const flat_arguments& after, results comes_back) {
    const flat_arguments untouched;
    for (size_t i = 0; i < sizeof after.block; ++i) {
        const bool filled = comes_back == results::block && i < flat_arguments::length;
        EXPECT_EQ(after.block[i], filled ? out_byte(i) : untouched.block[i]) << "byte " << i;
    }
    const bool one = comes_back == results::one_word || comes_back == results::two_words;
    EXPECT_EQ(after.first, one ? first_out : untouched.first);
    EXPECT_EQ(after.second, comes_back == results::two_words ? second_out : untouched.second);
}

TEST_P(FlatFunctions, ArriveAsTheyWereCalledAndComeBackWithStatusAndResults) {
    open();
    for (const flat_case& row : flat_cases()) {
        SCOPED_TRACE(row.function);
        flat_arguments with;
        EXPECT_EQ(row.call(handle_, with), status_of(row.place));
        expect_results(with, row.comes_back);
        const std::vector<std::string> calls = journal();
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls.back(), row.journal);
        // The shared block is handed over before every player is made.
        const bool creates = row.method == "Create";
        EXPECT_EQ(calls.size(), creates ? 2U : 1U);
        EXPECT_EQ(calls.front(), creates ? "SetShareMemory null" : row.journal);
    }
    EXPECT_EQ(log_.count_containing("invalid"), 0);
}

TEST_P(FlatFunctions, TakeNullForAStructureThatMayBeMissing) {
    open();
    constexpr uint32_t player = 5;
    ZUAVPLAYER_ChnOpen(handle_, player, 1, nullptr, 0);
    ZUAVPLAYER_Start(handle_, player, 1, nullptr, 0);
    ZUAVPLAYER_Stop(handle_, player, 1, nullptr, 12);  // even with a length
    ZUAVPLAYER_Pause(handle_, player, nullptr, 0);
    ZUAVPLAYER_Resume(handle_, player, nullptr, 0);
    EXPECT_EQ(journal(),
              (std::vector<std::string>{"ChnOpen 5 1 null 0", "Start 5 1 null 0",
                                        "Stop 5 1 null 12", "Pause 5 null 0", "Resume 5 null 0"}));
}

TEST_P(FlatFunctions, TellAnEmptyStructureFromNone) {
    open();
    const char nothing = 0;
    ZUAVPLAYER_Pause(handle_, 5, &nothing, 0);
    ZUAVPLAYER_Pause(handle_, 5, &nothing, uint64_t{1} << 32);
    EXPECT_EQ(journal(), (std::vector<std::string>{"Pause 5 <> 0", "Pause 5 <> 0"}));
}

TEST_P(FlatFunctions, PassZeroWhereZeroMayBe) {
    open();
    EXPECT_EQ(ZUAVPLAYER_SndInit(handle_, 0), status_of(28));
    uint32_t track = 0;
    EXPECT_EQ(ZUAVPLAYER_CreateTrack(handle_, 0, "attr", &track, 4), status_of(31));
    EXPECT_EQ(ZUAVPLAYER_SetTunnelMode(handle_, 1, 0, 0), status_of(23));
    uint32_t times[2] = {};
    EXPECT_EQ(ZUAVPLAYER_GetAudioPlaytime(handle_, 0, &times[0], &times[1]), status_of(47));
    EXPECT_EQ(journal(), (std::vector<std::string>{"SndInit 0", "CreateTrack 0 <61747472> given 4",
                                                   "SetTunnelMode 1 0 false",
                                                   "GetAudioPlaytime 0 given given"}));
}

// Every combination of arguments that are there and that are not.
TEST_F(FlatFunctionsAlone, RefuseEveryCombinationOfMissingArguments) {
    start_service(where::here);
    void* const handle = open();
    for (const flat_case& row : flat_cases()) {
        SCOPED_TRACE(row.function);
        const unsigned all = (2U << row.needed) - 1;  // the handle is the last of the bits
        for (unsigned given = 0; given < all; ++given) {
            SCOPED_TRACE(given);
            flat_arguments with;
            with.given = given;
            EXPECT_EQ(row.call((given >> row.needed & 1U) != 0 ? handle : nullptr, with),
                      row.invalid);
            expect_results(with, results::none);
            EXPECT_EQ(log_.lines(), (std::vector<log_line>{{ANDROID_LOG_ERROR, log_tag,
                                                            row.function + " invalid parameter"}}));
            log_.clear();
        }
    }
    EXPECT_EQ(journal(), std::vector<std::string>{});
}

TEST_F(FlatFunctionsAlone, RefuseANullHandleToCloseOrAskForTheBlock) {
    EXPECT_EQ(ZUAVPLAYER_Open(nullptr), -1);
    EXPECT_EQ(log_.lines(), std::vector<log_line>{});
    EXPECT_EQ(ZUAVPLAYER_Close(nullptr), -1);
    EXPECT_EQ(ZUAVPLAYER_GetCblk(nullptr), nullptr);
    EXPECT_EQ(log_.lines(),
              (std::vector<log_line>{
                  {ANDROID_LOG_ERROR, log_tag, "ZUAVPLAYER_Close invalid parameter"},
                  {ANDROID_LOG_ERROR, log_tag, "ZUAVPLAYER_GetCblk invalid parameter"}}));
}

// Without a service, and with one that gives out no player.
void expect_unconnected(void* handle, const log_recorder& log) {
    EXPECT_EQ(ZUAVPLAYER_GetCblk(handle), nullptr);
    EXPECT_EQ(log.count(ANDROID_LOG_WARN, log_tag, "GetCblk ZuAvPlayer has not been inited"), 1);
    for (const flat_case& row : flat_cases()) {
        SCOPED_TRACE(row.function);
        flat_arguments with;
        EXPECT_EQ(row.call(handle, with), -19);
        expect_results(with, results::none);
        EXPECT_EQ(
            log.count(ANDROID_LOG_WARN, log_tag, row.method + " ZuAvPlayer has not been inited"),
            1);
    }
}

TEST_F(FlatFunctionsAlone, AnswerNoInitWithoutAService) {
    ASSERT_EQ(ZUAVPLAYER_Open(&handle_), 0);
    EXPECT_TRUE(
        log_.has(ANDROID_LOG_ERROR, log_tag, "ZuAvPlayerAdp  : Cannot obtain IZuAvPlayerService"));
    expect_unconnected(handle_, log_);
}

TEST_P(FlatFunctions, AnswerNoInitWithoutAPlayer) {
    stop_service();
    start_service(GetParam(), true);
    ASSERT_EQ(ZUAVPLAYER_Open(&handle_), 0);
    EXPECT_TRUE(
        log_.has(ANDROID_LOG_ERROR, log_tag, "ZuAvPlayerAdp : Cannot obtain IZuAvPlayer instance"));
    expect_unconnected(handle_, log_);
    EXPECT_EQ(journal(), std::vector<std::string>{});
}

}  // namespace
