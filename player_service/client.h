// One client's connection: its players, tracks and windows, its shared block and its observers. All
// of it goes with the last reference to the connection, which a client that dies does not keep.
//
// Operations arrive on any thread, several at once. The client's lock guards its tables; a player
// has its own lock, taken after the client's or without it. Observers are told without either, by
// the client's event queue.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <zuavplayer/IZuAvPlayer.h>
#include <zuavplayer/player_types.h>

#include "player_service/event_queue.h"
#include "player_service/handle_table.h"
#include "player_service/player.h"
#include "player_service/service_context.h"
#include "player_service/shared_block.h"

namespace player_service {

struct track {
    android::zu_track_attr attributes;
    uint32_t player = 0;  // that it carries; 0 for none
};

struct window {
    std::vector<uint8_t> attributes;
    uint32_t player = 0;  // that it shows; 0 for none
    bool enabled = false;
    uint32_t rotation_degrees = 0;
};

// Whether an observer lives where the present call comes from. Another one would keep what it does
// not belong to: a client that observes itself would never go.
bool is_callers_own(const android::sp<android::IZuAvplayerObserver>& observer);

class client : public android::BnZuAvPlayer {
  public:
    static constexpr size_t kMostPlayers = 16;
    static constexpr size_t kMostTracks = 16;
    static constexpr size_t kMostWindows = 8;
    static constexpr size_t kMostListeners = 16;

    explicit client(const std::shared_ptr<service_context>& context);

    // Ends everything that the client has, and refuses new things. Any thread.
    void retire();

    // What the operations answer: README.md has the table.
    int32_t SYS_Init() override;
    int32_t Init() override;
    int32_t DeInit() override;
    int32_t RegisterAcodecLib(const char* library) override;
    int32_t FoundSupportDecoder(uint32_t value, uint32_t* result) override;

    int32_t GetDefaultConfig(void* config, int type, uint32_t length) override;
    int32_t Create(const void* attributes, uint32_t* player, uint32_t length) override;
    int32_t Destroy(uint32_t player) override;
    int32_t RegisterEvent64(uint32_t player, int event,
                            const android::sp<android::IZuAvplayerObserver>& observer) override;
    int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length) override;
    int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) override;
    int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) override;
    int32_t SetAdecOutBufSize(uint32_t player, uint32_t size) override;
    int32_t ChnOpen(uint32_t player, int channel, const void* parameters, uint32_t length) override;
    int32_t ChnClose(uint32_t player, int channel) override;
    int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes, uint32_t value) override;
    int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes, uint32_t pts_ms) override;
    int32_t Start(uint32_t player, int channel, const void* option, uint32_t length) override;
    int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length) override;
    int32_t Pause(uint32_t player, const void* option, uint32_t length) override;
    int32_t Resume(uint32_t player, const void* option, uint32_t length) override;
    int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length) override;
    int32_t SetTunnelMode(uint32_t player, int value, bool enable) override;
    int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                       uint32_t value) override;
    int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length) override;
    int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                        uint32_t nSamplesPerSec, int s32BitSample) override;
    int32_t FlushStream(uint32_t player, const void* option, uint32_t length) override;
    int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) override;
    int32_t CheckCloseState(uint32_t value, uint32_t* state) override;

    int32_t SetSndLatency(uint32_t sound, uint32_t latency) override;
    int32_t SndInit(uint32_t sound) override;
    int32_t SndDeInit(uint32_t sound) override;
    int32_t SndGetMsFeature(uint32_t value) override;
    int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) override;
    int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                        uint32_t length) override;
    int32_t DestroyTrack(uint32_t track) override;
    int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms) override;
    int32_t AttachSnd(uint32_t track, uint32_t source) override;
    int32_t DetachSnd(uint32_t track, uint32_t source) override;

    int32_t VO_Init(int value) override;
    int32_t VO_DeInit() override;
    int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) override;
    int32_t VO_AttachWindow(uint32_t window, uint32_t source) override;
    int32_t VO_SetWindowEnable(uint32_t window, bool enable) override;
    int32_t VO_DetachWindow(uint32_t window, uint32_t source) override;
    int32_t VO_DestroyWindow(uint32_t window) override;
    int32_t VO_SetRotation(uint32_t window, uint32_t rotation) override;

    int32_t SetShareMemory(const android::sp<android::IMemory>& block) override;

    int32_t RM_init() override;
    int32_t RM_Deinit() override;
    int32_t RM_RegisterCallback(void* client,
                                const android::sp<android::IZuAvplayerObserver>& observer,
                                uint32_t value) override;
    int32_t RM_UnRegisterCallback(void* client) override;

  protected:
    ~client() override;

  private:
    class observer_watch;

    std::shared_ptr<player> find_player(uint32_t handle) const;
    template <typename Action>
    int32_t with_player(uint32_t handle, Action action) const;
    shared_block current_block() const;
    void watch(const android::sp<android::IZuAvplayerObserver>& observer);
    void forget_observer(const android::IBinder* binder);
    void release_all();

    const std::shared_ptr<service_context> context_;
    const std::shared_ptr<event_queue> queue_;
    const android::sp<observer_watch> watch_;
    std::atomic<bool> has_told_of_block_{false};

    mutable std::mutex mutex_;
    // All guarded by mutex_.
    bool retired_ = false;
    bool initialised_ = false;
    handle_table<player> players_{handle_kind::player, kMostPlayers};
    handle_table<track> tracks_{handle_kind::track, kMostTracks};
    handle_table<window> windows_{handle_kind::window, kMostWindows};
    uint32_t sound_inits_ = 0;
    uint32_t video_inits_ = 0;
    uint32_t resource_inits_ = 0;
    size_t listeners_ = 0;
    std::vector<android::wp<android::IBinder>> watched_;  // observers with a link to watch_
    shared_block block_;
};

}  // namespace player_service
