// States, handles, attributes, and what goes away with what.
#include <functional>
#include <map>
#include <set>

#include "player_service/player_state.h"
#include "tests/player_service/service_fixture.h"

namespace player_service {
namespace {

using namespace android;

using LifeCycle = service_test;

int32_t perform(const test_client& client, uint32_t player, player_action action) {
    switch (action) {
        case player_action::open:
            return client->ChnOpen(player, ZU_CHN_AUD, nullptr, 0);
        case player_action::close:
            return client->ChnClose(player, ZU_CHN_AUD);
        case player_action::start:
            return client->Start(player, ZU_CHN_AUD, nullptr, 0);
        case player_action::stop:
            return client->Stop(player, ZU_CHN_AUD, nullptr, 0);
        case player_action::pause:
            return client->Pause(player, nullptr, 0);
        case player_action::resume:
            return client->Resume(player, nullptr, 0);
        case player_action::flush:
            return client->FlushStream(player, nullptr, 0);
    }
    return -1;
}

// Every state and action: '!' is refused, a letter is the state behind it.
TEST_F(LifeCycle, FollowsItsTableFromEveryStateByEveryAction) {
    using action = player_action;
    const action all[] = {action::open,  action::close,  action::start, action::stop,
                          action::pause, action::resume, action::flush};
    const struct {
        char state;
        std::vector<action> way;
        const char* after;  // in the order of `all`
    } rows[] = {
        {'C', {}, "S!!!!!!"},
        {'S', {action::open}, "!CRS!!S"},
        {'R', {action::open, action::start}, "!C!SPUR"},
        {'U', {action::open, action::start, action::resume}, "!C!SPUU"},
        {'P', {action::open, action::start, action::pause}, "!C!SPUP"},
        {'P', {action::open, action::start, action::resume, action::pause}, "!C!SPUP"},
    };
    // What a client sees of a state: the answer to GetBuf, and whether Start is refused.
    const auto seen = [this](uint32_t player) {
        uint32_t closed = 7;
        client_->CheckCloseState(player, &closed);
        const int32_t room = client_.get_buf(player, 1);
        EXPECT_EQ(closed, room == code(ZU_ERR_INVALID_STATE) ? 1U : 0U);
        return closed == 1 ? 'C' : room == code(ZU_ERR_BUF_NOT_READY) ? 'S' : 'x';
    };
    for (const auto& row : rows) {
        for (size_t i = 0; i < std::size(all); ++i) {
            SCOPED_TRACE(testing::Message() << row.state << " by action " << i);
            const uint32_t player = client_.create_player();
            for (const action step : row.way) {
                ASSERT_EQ(perform(client_, player, step), 0);
            }
            const char expected = row.after[i];
            EXPECT_EQ(perform(client_, player, all[i]),
                      expected == '!' ? code(ZU_ERR_INVALID_STATE) : 0);
            const char state = expected == '!' ? row.state : expected;
            EXPECT_EQ(seen(player), state == 'C' || state == 'S' ? state : 'x');
            if (seen(player) == 'x') {
                // Only a running player takes what it is sent.
                EXPECT_EQ(client_.send(player, 4), 0);
                EXPECT_EQ(client_.stop_at_end(player), 0);
                EXPECT_EQ(client_.info(player).frames, state == 'U' ? 1U : 0U);
            }
            EXPECT_EQ(client_->Destroy(player), 0);
        }
    }
}

// Each operation on a handle, with arguments that are right otherwise.
struct handle_operation {
    const char* name;
    handle_kind kind;
    std::function<int32_t(IZuAvPlayer&, uint32_t)> call;
};

std::vector<handle_operation> handle_operations(uint32_t player, uint32_t track, uint32_t window) {
    static uint8_t record[64];
    static uint32_t word;
    using P = IZuAvPlayer;
    constexpr handle_kind of_player = handle_kind::player;
    constexpr handle_kind of_track = handle_kind::track;
    constexpr handle_kind of_window = handle_kind::window;
    return {
        {"RegisterEvent64", of_player,
         [](P& p, uint32_t h) { return p.RegisterEvent64(h, ZU_EVENT_STATE, nullptr); }},
        {"GetAttr", of_player, [](P& p, uint32_t h) { return p.GetAttr(h, 0, record, 16); }},
        {"SetAttr", of_player, [](P& p, uint32_t h) { return p.SetAttr(h, 6, record, 44); }},
        {"GetAdecOutFrameInfo", of_player,
         [](P& p, uint32_t h) { return p.GetAdecOutFrameInfo(h, &word, &word); }},
        {"SetAdecOutBufSize", of_player,
         [](P& p, uint32_t h) { return p.SetAdecOutBufSize(h, 2); }},
        {"ChnOpen", of_player, [](P& p, uint32_t h) { return p.ChnOpen(h, 1, nullptr, 0); }},
        {"ChnClose", of_player, [](P& p, uint32_t h) { return p.ChnClose(h, 1); }},
        {"GetBuf", of_player, [](P& p, uint32_t h) { return p.GetBuf(h, 1, 4, 0); }},
        {"PutBufEx", of_player, [](P& p, uint32_t h) { return p.PutBufEx(h, 1, 4, 0); }},
        {"Start", of_player, [](P& p, uint32_t h) { return p.Start(h, 1, nullptr, 0); }},
        {"Stop", of_player, [](P& p, uint32_t h) { return p.Stop(h, 1, nullptr, 0); }},
        {"Pause", of_player, [](P& p, uint32_t h) { return p.Pause(h, nullptr, 0); }},
        {"Resume", of_player, [](P& p, uint32_t h) { return p.Resume(h, nullptr, 0); }},
        {"GetStreamInfo", of_player,
         [](P& p, uint32_t h) { return p.GetStreamInfo(h, record, sizeof(zu_stream_info)); }},
        {"SetTunnelMode", of_player, [](P& p, uint32_t h) { return p.SetTunnelMode(h, 0, true); }},
        {"SetHDRInfo", of_player,
         [](P& p, uint32_t h) { return p.SetHDRInfo(h, record, 4, true, 0); }},
        {"GetHDRInfo", of_player, [](P& p, uint32_t h) { return p.GetHDRInfo(h, record, 64); }},
        {"SetAdecAttr", of_player,
         [](P& p, uint32_t h) { return p.SetAdecAttr(h, ZU_ADEC_PCM, 2, 48000, 0); }},
        {"FlushStream", of_player, [](P& p, uint32_t h) { return p.FlushStream(h, nullptr, 0); }},
        {"GetAudioPlaytime", of_player,
         [](P& p, uint32_t h) { return p.GetAudioPlaytime(h, &word, &word); }},
        {"AttachSnd's track", of_track,
         [player](P& p, uint32_t h) { return p.AttachSnd(h, player); }},
        {"AttachSnd's player", of_player,
         [track](P& p, uint32_t h) { return p.AttachSnd(track, h); }},
        {"DetachSnd's track", of_track,
         [player](P& p, uint32_t h) { return p.DetachSnd(h, player); }},
        {"DetachSnd's player", of_player,
         [track](P& p, uint32_t h) { return p.DetachSnd(track, h); }},
        {"GetDelayMs", of_track, [](P& p, uint32_t h) { return p.GetDelayMs(h, &word); }},
        {"VO_AttachWindow's window", of_window,
         [player](P& p, uint32_t h) { return p.VO_AttachWindow(h, player); }},
        {"VO_AttachWindow's player", of_player,
         [window](P& p, uint32_t h) { return p.VO_AttachWindow(window, h); }},
        {"VO_DetachWindow's window", of_window,
         [player](P& p, uint32_t h) { return p.VO_DetachWindow(h, player); }},
        {"VO_DetachWindow's player", of_player,
         [window](P& p, uint32_t h) { return p.VO_DetachWindow(window, h); }},
        {"VO_SetWindowEnable", of_window,
         [](P& p, uint32_t h) { return p.VO_SetWindowEnable(h, true); }},
        {"VO_SetRotation", of_window, [](P& p, uint32_t h) { return p.VO_SetRotation(h, 90); }},
        {"Destroy", of_player, [](P& p, uint32_t h) { return p.Destroy(h); }},
        {"DestroyTrack", of_track, [](P& p, uint32_t h) { return p.DestroyTrack(h); }},
        {"VO_DestroyWindow", of_window, [](P& p, uint32_t h) { return p.VO_DestroyWindow(h); }},
    };
}

struct things {
    uint32_t player = 0;
    uint32_t track = 0;
    uint32_t window = 0;

    explicit things(const test_client& client) : player(client.create_player()) {
        EXPECT_EQ(client->SndInit(ZU_SND_0), 0);
        track = client.create_track();
        EXPECT_EQ(client->VO_Init(0), 0);
        EXPECT_EQ(client->VO_CreateWindow("window", &window, 6), 0);
    }
    uint32_t of(handle_kind kind) const {
        return kind == handle_kind::player ? player : kind == handle_kind::track ? track : window;
    }
};

TEST_F(LifeCycle, RefusesHandlesThatAreNotTheClientsOwn) {
    const things own(client_);
    const test_client other(service_->getPlayer());
    const things foreign(other);
    const things stale(client_);
    ASSERT_EQ(client_->Destroy(stale.player), 0);
    ASSERT_EQ(client_->DestroyTrack(stale.track), 0);
    ASSERT_EQ(client_->VO_DestroyWindow(stale.window), 0);
    for (const handle_operation& row : handle_operations(own.player, own.track, own.window)) {
        SCOPED_TRACE(row.name);
        IZuAvPlayer& client = *client_.operator->();
        std::set<uint32_t> unknown = {0,
                                      kAllOnes,
                                      stale.of(row.kind),
                                      foreign.of(row.kind),
                                      own.of(handle_kind::player),
                                      own.of(handle_kind::track),
                                      own.of(handle_kind::window)};
        unknown.erase(own.of(row.kind));
        for (const uint32_t handle : unknown) {
            EXPECT_EQ(row.call(client, handle), code(ZU_ERR_INVALID_HANDLE)) << std::hex << handle;
        }
        EXPECT_NE(row.call(client, own.of(row.kind)), code(ZU_ERR_INVALID_HANDLE));
    }
    EXPECT_EQ(other->Destroy(foreign.player), 0) << "the other client's things are untouched";
}

TEST(HandleTable, NeverGivesWhatIsInUseOrMayBeTakenForNothing) {
    next_serial = 0x0FFFFFFE;  // about to wrap
    handle_table<int> table(handle_kind::window, 4);
    const uint32_t last = table.add(std::make_shared<int>(1));
    next_serial = 0xFFFFFFFE;
    for (int i = 2; i <= 4; ++i) {
        EXPECT_NE(table.add(std::make_shared<int>(i)), 0U);
    }
    EXPECT_EQ(table.add(std::make_shared<int>(5)), 0U) << "full";
    EXPECT_EQ(table.all().size(), 4U);
    EXPECT_EQ(*table.find(last), 1);
    for (const auto& [handle, thing] : table.all()) {
        EXPECT_EQ(handle >> 28, 3U) << std::hex << handle;
        EXPECT_NE(handle & 0x0FFFFFFF, 0U);
    }
    EXPECT_NE(table.remove(last), nullptr);
    EXPECT_EQ(table.remove(last), nullptr);
}

TEST_F(LifeCycle, AttributesHaveDefaultsAndBounds) {
    const uint32_t player = client_.create_player();
    zu_stream_mode_attr mode;
    std::memset(&mode, 0xA5, sizeof mode);
    ASSERT_EQ(client_->GetAttr(player, ZU_ATTR_STREAM_MODE, &mode, sizeof mode), 0);
    EXPECT_EQ(mode.audio_buffer_bytes, 16384U) << "clients set another one";
    zu_sync_attr sync;
    std::memset(&sync, 0xA5, sizeof sync);
    ASSERT_EQ(client_->GetAttr(player, ZU_ATTR_SYNC, &sync, sizeof sync), 0);
    EXPECT_EQ(sync.sync_start + sync.sync_reference, 0U);

    const struct {
        uint32_t bytes;
        bool fits;
    } rows[] = {{1023, false}, {1024, true},    {4096, true},
                {20480, true}, {4194304, true}, {4194305, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        mode.audio_buffer_bytes = row.bytes;
        mode.words[1] = row.bytes * 3;
        EXPECT_EQ(client_->SetAttr(player, ZU_ATTR_STREAM_MODE, &mode, sizeof mode),
                  row.fits ? 0 : code(ZU_ERR_INVALID_ARGUMENT));
        zu_stream_mode_attr now = {};
        ASSERT_EQ(client_->GetAttr(player, ZU_ATTR_STREAM_MODE, &now, sizeof now), 0);
        EXPECT_EQ(std::memcmp(&now, &mode, sizeof now) == 0, row.fits);
    }
    for (const uint32_t length : {0U, 15U, 17U}) {
        EXPECT_EQ(client_->GetAttr(player, ZU_ATTR_STREAM_MODE, &mode, length),
                  code(ZU_ERR_INVALID_ARGUMENT));
    }
    sync.sync_start = 2;
    EXPECT_EQ(client_->SetAttr(player, ZU_ATTR_SYNC, &sync, sizeof sync),
              code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->GetAttr(player, 1, &mode, sizeof mode), code(ZU_ERR_NOT_SUPPORTED));
    EXPECT_EQ(client_->SetAttr(player, ZU_ATTR_SYNC, nullptr, sizeof sync),
              code(ZU_ERR_INVALID_ARGUMENT));
}

TEST_F(LifeCycle, NeedsInitBeforePlayersAndSoundBeforeTracks) {
    const sp<IZuAvPlayer> fresh = service_->getPlayer();
    zu_player_config config = {};
    zu_track_attr attributes;
    uint32_t handle = 7;
    EXPECT_EQ(fresh->Create(&config, &handle, sizeof config), code(ZU_ERR_INVALID_STATE));
    ASSERT_EQ(fresh->GetTrackDefAttr(0, &attributes, sizeof attributes), 0);
    EXPECT_EQ(fresh->CreateTrack(0, &attributes, &handle, sizeof attributes),
              code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(fresh->VO_CreateWindow("w", &handle, 1), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(fresh->DeInit(), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(fresh->SndDeInit(0), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(fresh->VO_DeInit(), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(fresh->RM_Deinit(), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(handle, 7U);
    EXPECT_EQ(client_->SndInit(1), code(ZU_ERR_INVALID_ARGUMENT)) << "there is one output";
}

TEST_F(LifeCycle, TracksCarryOnePlayerAndMayGoInAnyOrder) {
    const things own(client_);
    const things more(client_);
    ASSERT_EQ(client_->AttachSnd(own.track, own.player), 0);
    EXPECT_EQ(client_->AttachSnd(own.track, more.player), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(client_->AttachSnd(more.track, own.player), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(client_->DetachSnd(own.track, more.player), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(client_->SndDeInit(0), 0) << "counted";
    EXPECT_EQ(client_->SndDeInit(0), code(ZU_ERR_INVALID_STATE)) << "tracks are left";

    ASSERT_EQ(client_->ChnOpen(own.player, ZU_CHN_AUD, nullptr, 0), 0);
    EXPECT_EQ(client_->ChnClose(own.player, ZU_CHN_AUD), 0) << "with a track attached";
    EXPECT_EQ(client_->Destroy(own.player), 0) << "with a track attached";
    EXPECT_EQ(client_->AttachSnd(own.track, more.player), 0) << "the track is free again";
    EXPECT_EQ(client_->DestroyTrack(own.track), 0) << "while it is attached";
    EXPECT_EQ(client_->AttachSnd(more.track, more.player), 0) << "the player is free again";
    EXPECT_EQ(client_->DestroyTrack(more.track), 0);
    EXPECT_EQ(client_->SndDeInit(0), 0);
}

TEST_F(LifeCycle, WindowsKeepTheirPlayerUntilItGoes) {
    const things own(client_);
    ASSERT_EQ(client_->VO_AttachWindow(own.window, own.player), 0);
    EXPECT_EQ(client_->VO_AttachWindow(own.window, own.player), code(ZU_ERR_INVALID_STATE));
    EXPECT_EQ(client_->VO_DeInit(), code(ZU_ERR_INVALID_STATE)) << "a window is left";
    const uint32_t next = client_.create_player();
    ASSERT_EQ(client_->Destroy(own.player), 0);
    EXPECT_EQ(client_->VO_AttachWindow(own.window, next), 0);
    EXPECT_EQ(client_->VO_SetRotation(own.window, 360), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->VO_SetRotation(own.window, 45), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->VO_DestroyWindow(own.window), 0);
    EXPECT_EQ(client_->VO_DeInit(), 0);
    uint32_t window = 0;
    EXPECT_EQ(client_->VO_CreateWindow(std::string(257, 'x').data(), &window, 257),
              code(ZU_ERR_INVALID_ARGUMENT));
}

TEST_F(LifeCycle, GivesSixteenPlayersToAClientAndMoreToAnother) {
    zu_player_config config = {};
    uint32_t player = 0;
    for (int i = 0; i < 16; ++i) {
        ASSERT_NE(client_.create_player(), 0U);
    }
    EXPECT_EQ(client_->Create(&config, &player, sizeof config), code(ZU_ERR_NO_RESOURCE));
    EXPECT_EQ(player, 0U);
    EXPECT_NE(test_client(service_->getPlayer()).create_player(), 0U);
}

TEST_F(LifeCycle, AClientTakesEverythingWithItInTheMiddleOfPlaying) {
    for (const bool says_goodbye : {true, false}) {
        SCOPED_TRACE(says_goodbye);
        test_client doomed(service_->getPlayer());
        const things own(doomed);
        ASSERT_EQ(doomed->VO_AttachWindow(own.window, own.player), 0);
        const uint32_t running = doomed.create_running(ZU_ADEC_PCM, 2, 48000);
        ASSERT_EQ(doomed.send(running, 1024), 0);
        resources::counts now = context_->resource_counts.now();
        EXPECT_EQ(now.clients, 2U);
        EXPECT_EQ(now.players, 2U);
        EXPECT_EQ(now.tracks, 2U);
        EXPECT_EQ(now.windows, 1U);
        if (says_goodbye) {
            EXPECT_EQ(doomed->DeInit(), 0);
            EXPECT_EQ(doomed.get_buf(running, 4), code(ZU_ERR_INVALID_HANDLE));
            EXPECT_EQ(context_->resource_counts.now().clients, 2U);
        }
        doomed.leave();
        now = context_->resource_counts.now();
        EXPECT_EQ(now.clients, 1U);
        EXPECT_EQ(now.players + now.tracks + now.windows, 0U);
    }
}

TEST_F(LifeCycle, ARetiredServiceEndsAllAndGivesNothingNew) {
    const uint32_t player = client_.create_running(ZU_ADEC_PCM, 2, 48000);
    service_->retire();
    EXPECT_EQ(client_.get_buf(player, 4), code(ZU_ERR_INVALID_HANDLE));
    EXPECT_EQ(context_->resource_counts.now().players, 0U);
    EXPECT_EQ(service_->getPlayer(), nullptr);
    zu_player_config config = {};
    uint32_t handle = 0;
    EXPECT_EQ(client_->Init(), code(ZU_ERR_NO_RESOURCE));
    EXPECT_EQ(client_->Create(&config, &handle, sizeof config), code(ZU_ERR_INVALID_STATE));
}

TEST_F(LifeCycle, HdrInfoComesBackAsItWasStored) {
    const uint32_t player = client_.create_player();
    uint8_t info[8];
    std::memset(info, 0xA5, sizeof info);
    EXPECT_EQ(client_->GetHDRInfo(player, info, sizeof info), code(ZU_ERR_INVALID_STATE));
    const std::vector<uint8_t> large(4097, 1);
    EXPECT_EQ(client_->SetHDRInfo(player, large.data(), 4097, true, 0),
              code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->SetHDRInfo(player, "hdr", 3, true, 0), 0);
    EXPECT_EQ(client_->GetHDRInfo(player, info, 2), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->GetHDRInfo(player, info, sizeof info), 0);
    EXPECT_EQ(std::memcmp(info, "hdr\xA5\xA5\xA5\xA5\xA5", sizeof info), 0);
}

}  // namespace
}  // namespace player_service
